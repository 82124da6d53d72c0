#include "platform/win32/win32_user.h"

#include <array>
#include <cstring>
#include <windows.h>

#include "base/version.h"

namespace tidewright {
namespace {

/// What is longer would push the buttons off the screen.
constexpr std::size_t kLongestText = 2000;
constexpr std::size_t kLongestName = 32768;

/// A text as a box can show it: a zero byte would end it.
std::string shown(std::string text) {
  if (text.size() > kLongestText) text.replace(kLongestText, std::string::npos, " ...");
  for (char& c : text) {
    if (c == '\0') c = ' ';
  }
  return text;
}

int ask(HWND owner, const std::string& text, const std::string& title, UINT style) {
  return ::MessageBoxA(owner, shown(text).c_str(), shown(title).c_str(), style);
}

// The input box. It is a dialog like any other, so the system moves between its parts with Tab, presses OK for Enter
// and Cancel for Escape.

constexpr WORD kPrompt = 100;
constexpr WORD kReply = 101;

/// The memory form of a dialog is a row of 16-bit words: numbers, and texts of wide characters that end in 0.
class Template {
 public:
  void word(WORD value) { words_.push_back(value); }
  void number(DWORD value) {
    word(LOWORD(value));
    word(HIWORD(value));
  }
  void text(std::wstring_view text) {
    for (const wchar_t c : text) word(static_cast<WORD>(c));
    word(0);
  }
  /// The left upper corner, and the size, in the dialog's own units.
  void place(WORD x, WORD y, WORD width, WORD height) {
    for (const WORD value : {x, y, width, height}) word(value);
  }
  /// One control: a window class of the system by its number.
  void control(WORD kind, DWORD style, WORD id, std::array<WORD, 4> where, std::wstring_view caption) {
    if (words_.size() % 2 != 0) word(0);  // each starts at a multiple of four bytes
    number(style | WS_CHILD | WS_VISIBLE);
    number(0);
    place(where[0], where[1], where[2], where[3]);
    word(id);
    word(0xFFFF);
    word(kind);
    text(caption);
    word(0);
  }
  const DLGTEMPLATE* get() const { return static_cast<const DLGTEMPLATE*>(static_cast<const void*>(words_.data())); }

 private:
  std::vector<WORD> words_;
};

constexpr WORD kButton = 0x80;
constexpr WORD kEdit = 0x81;
constexpr WORD kStatic = 0x82;

Template input_template() {
  Template form;
  form.number(DS_SETFONT | DS_FIXEDSYS | DS_MODALFRAME | DS_CENTER | WS_POPUP | WS_CAPTION | WS_SYSMENU);
  form.number(0);
  form.word(4);
  form.place(0, 0, 240, 82);
  form.word(0);  // no menu
  form.word(0);  // the class of dialogs
  form.word(0);  // the title comes later
  form.word(8);
  form.text(L"MS Shell Dlg");
  form.control(kStatic, SS_NOPREFIX, kPrompt, {7, 7, 226, 32}, L"");
  form.control(kEdit, WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL, kReply, {7, 42, 226, 13}, L"");
  form.control(kButton, BS_DEFPUSHBUTTON | WS_TABSTOP, IDOK, {129, 61, 50, 14}, L"OK");
  form.control(kButton, BS_PUSHBUTTON | WS_TABSTOP, IDCANCEL, {183, 61, 50, 14}, L"Cancel");
  return form;
}

struct Question {
  std::string title;
  std::string prompt;
  std::string reply;
};

std::string text_of(HWND window) {
  std::string text(static_cast<std::size_t>(::GetWindowTextLengthA(window)) + 1, '\0');
  text.resize(static_cast<std::size_t>(::GetWindowTextA(window, text.data(), static_cast<int>(text.size()))));
  return text;
}

INT_PTR CALLBACK run_input_box(HWND box, UINT message, WPARAM word, LPARAM data) {
  if (message == WM_INITDIALOG) {
    const auto& question = *reinterpret_cast<const Question*>(data);
    ::SetWindowLongPtrA(box, DWLP_USER, data);
    ::SetWindowTextA(box, question.title.c_str());
    ::SetDlgItemTextA(box, kPrompt, question.prompt.c_str());
    return TRUE;  // the first control that can be typed into gets the keyboard
  }
  if (message != WM_COMMAND || (LOWORD(word) != IDOK && LOWORD(word) != IDCANCEL)) return FALSE;
  auto& question = *reinterpret_cast<Question*>(::GetWindowLongPtrA(box, DWLP_USER));
  if (LOWORD(word) == IDOK) question.reply = text_of(::GetDlgItem(box, kReply));
  ::EndDialog(box, LOWORD(word));
  return TRUE;
}

}  // namespace

void Win32User::critical_box(const std::string& text) {
  ask(owner_, text, "CRITICAL ERROR", MB_ICONHAND);
}

void Win32User::notice_box(const std::string& text) {
  ask(owner_, text, "Notice:", MB_SYSTEMMODAL);
}

void Win32User::message_box(const std::string& text) {
  ask(owner_, text, std::string(kTitle), MB_OK);
}

bool Win32User::yes_no_box(const std::string& text, const std::string& title) {
  return ask(owner_, text, title, MB_YESNO) == IDYES;
}

std::string Win32User::input_box(const std::string& prompt, const std::string& title) {
  const Template form = input_template();
  Question question{shown(title), shown(prompt), ""};
  ::DialogBoxIndirectParamA(::GetModuleHandleA(nullptr), form.get(), owner_, run_input_box,
                            reinterpret_cast<LPARAM>(&question));
  return question.reply;
}

std::string Win32User::file_box(const std::string& title, bool saving) {
  std::string name(kLongestName, '\0');
  std::array<char, MAX_PATH + 1> folder{};
  const DWORD size = ::GetCurrentDirectoryA(static_cast<DWORD>(folder.size()), folder.data());
  OPENFILENAMEA choice{};
  choice.lStructSize = sizeof choice;
  choice.hwndOwner = owner_;
  choice.lpstrFilter = "Batch Files (*.*)\0*.*\0";
  choice.lpstrFile = name.data();
  choice.nMaxFile = static_cast<DWORD>(name.size());
  choice.lpstrInitialDir = size > 0 && size < folder.size() ? folder.data() : nullptr;
  choice.lpstrTitle = title.c_str();
  choice.Flags = OFN_EXPLORER | OFN_NOCHANGEDIR | OFN_HIDEREADONLY | OFN_PATHMUSTEXIST;
  choice.Flags |= saving ? OFN_OVERWRITEPROMPT : OFN_FILEMUSTEXIST;
  const BOOL chosen = saving ? ::GetSaveFileNameA(&choice) : ::GetOpenFileNameA(&choice);
  return chosen != 0 ? name.substr(0, name.find('\0')) : std::string();
}

}  // namespace tidewright
