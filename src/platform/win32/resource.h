// Numbers that the program's resources and its code share.
#define TW_ICON 1
#define TW_MENU 2
#define TW_KEYS 3

#define TW_DATABASE 101
#define TW_DECODE 102
#define TW_ENCODE 103
#define TW_SOURCE 104
#define TW_EXIT 105
#define TW_SELECT_ALL 106
#define TW_HELP 107
