" Tidewright scripts and definition files. Of two items that begin at one place the later one here is taken.
if exists('b:current_syntax')
  finish
endif

syntax case ignore

" The first word of a code line is a command; a directive's and raw data's are below.
syntax match tidewrightCommand /\C\%(^\|;\)\s*\zs[^!-A[:blank:]][^[:blank:];'=]*/

syntax match tidewrightNumber /\%(^\|[[:blank:],(]\)\zs-\=\d\+\%(\.\d\+\)\=\%(e[-+]\=\d\+\)\=\ze\%([[:blank:];,)]\|$\)/
syntax match tidewrightNumber /\%(0x\|#\|&h\)\x\+\ze\%([[:blank:];,)]\|$\)/
syntax match tidewrightPointer /\$[^[:blank:];,'"=]\+/
syntax match tidewrightName /"[^"]*"/

" Raw data: hexadecimal words behind "#".
syntax match tidewrightData /\%(^\|;\)\s*\zs\%(#\|&h\)\%(0x\)\=\x\+\%([[:blank:]]\+\%(0x\|&h\)\=\x\+\)*\ze\s*\%([;'=]\|$\)/

" made by tools/pages.py
syntax match tidewrightDirective /\c\%(#\|&h\)\%(whoami\|unregister\|unlock\|unburn\|start\|silent\|run\|rmdir\|register\|regext\|rd\|rawdecode\|raw\|org\|move\|mkdir\|md\|lock\|kascript\|kapush\|kapow\|kapop\|kapoke\|kapeek\|kacode\|kableewy\|journal\|install\|inline\|include\|help\|fulllog\|file\|f\.echo\|exit\|endfile\|encode\|do\|dir\|delete\|del\|define\|decode\|codeset\|cls\|cd\.\.\|cd\|burns\|boot\|binary\|autopop\|autobuffer\|autobank\|alias\|addtext\|addparm\|addhash\|addctrl\|addcmmd\)\ze\%([ \t;'=]\|$\)/
" end

syntax match tidewrightLabel /\%(\%(#\|&h\)org[[:blank:]]\+\)\@<=[^[:blank:];,'"]\+/

" Texts: a line of its own, or behind code.
syntax match tidewrightText /^\s*=.*$/ contains=tidewrightCode
syntax match tidewrightText /[[:blank:]]\zs=.*$/ contains=tidewrightCode
syntax match tidewrightCode /#\%(\x\x\|\w\+\)\|\\\w\+/ contained

syntax match tidewrightComment /'.*$/
syntax match tidewrightComment /^\s*!.*$/
syntax match tidewrightEcho +^\s*//.*$+
" A block ends with the next line whose very last character is "/".
syntax region tidewrightComment start=+^\s*/\%([^/].*\)\=$+ end=+/$+ keepend

highlight default link tidewrightCommand Function
highlight default link tidewrightDirective PreProc
highlight default link tidewrightLabel Label
highlight default link tidewrightPointer Identifier
highlight default link tidewrightNumber Number
highlight default link tidewrightData Constant
highlight default link tidewrightName String
highlight default link tidewrightText String
highlight default link tidewrightCode SpecialChar
highlight default link tidewrightComment Comment
highlight default link tidewrightEcho SpecialComment

let b:current_syntax = 'tidewright'
