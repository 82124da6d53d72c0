// A person's eyes and hands inside the Windows desktop, for window.py: starts programs, finds windows, reads and sets
// what they hold, presses keys and buttons. It answers each line of standard input with one line; fields are parted by
// tabs, and tabs, line ends and backslashes in them are written as \t, \n, \r and \\.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <utility>
#include <vector>
#include <windows.h>

namespace {

using Fields = std::vector<std::string>;

constexpr UINT kPatience = 5000;  // milliseconds that a window has for an answer

std::string escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '\t':
        out += "\\t";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\\':
        out += "\\\\";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string plain(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      out += text[i];
      continue;
    }
    const char c = text[++i];
    out += c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
  }
  return out;
}

Fields fields_of(const std::string& line) {
  Fields fields;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= line.size(); ++i) {
    if (i < line.size() && line[i] != '\t') continue;
    fields.push_back(plain(line.substr(start, i - start)));
    start = i + 1;
  }
  fields.resize(std::max<std::size_t>(fields.size(), 6));
  return fields;
}

std::uintptr_t number(const std::string& text) {
  return static_cast<std::uintptr_t>(std::strtoull(text.c_str(), nullptr, 0));
}

HWND window(const std::string& text) {
  return reinterpret_cast<HWND>(number(text));
}

std::string shown(const void* handle) {
  return std::to_string(reinterpret_cast<std::uintptr_t>(handle));
}

// Never waits for a program that hangs.
std::string send(HWND to, UINT message, WPARAM word, LPARAM data) {
  DWORD_PTR result = 0;
  if (SendMessageTimeoutA(to, message, word, data, SMTO_NORMAL, kPatience, &result) == 0) return "no answer";
  return std::to_string(result);
}

std::string text_of(HWND of) {
  DWORD_PTR length = 0;
  if (SendMessageTimeoutA(of, WM_GETTEXTLENGTH, 0, 0, SMTO_NORMAL, kPatience, &length) == 0) return "no answer";
  std::string text(length + 1, '\0');
  SendMessageTimeoutA(of, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()), SMTO_NORMAL, kPatience,
                      &length);
  text.resize(std::min<std::size_t>(length, text.size()));
  return escaped(text);
}

std::string class_of(HWND of) {
  std::string name(100, '\0');
  name.resize(static_cast<std::size_t>(GetClassNameA(of, name.data(), static_cast<int>(name.size()))));
  return name;
}

BOOL CALLBACK collect(HWND found, LPARAM list) {
  reinterpret_cast<std::vector<HWND>*>(list)->push_back(found);
  return TRUE;
}

std::vector<HWND> windows_of(HWND parent) {
  std::vector<HWND> list;
  if (parent == nullptr) {
    EnumWindows(collect, reinterpret_cast<LPARAM>(&list));
  } else {
    EnumChildWindows(parent, collect, reinterpret_cast<LPARAM>(&list));
  }
  return list;
}

// list [WINDOW]: handle, number, class and text of each window in it that can be seen; without one, of the desktop's.
std::string list(const Fields& fields) {
  std::string out;
  for (const HWND one : windows_of(window(fields[1]))) {
    if (IsWindowVisible(one) == 0) continue;
    for (const std::string& field : {shown(one), std::to_string(GetDlgCtrlID(one)), class_of(one), text_of(one)}) {
      out += field + "\t";
    }
  }
  return out;
}

// find CAPTION: the window of the desktop that has it, seen or not.
std::string find(const Fields& fields) {
  return shown(FindWindowA(nullptr, fields[1].c_str()));
}

std::string child(const Fields& fields) {
  return shown(FindWindowExA(window(fields[1]), nullptr, fields[2].c_str(), nullptr));
}

std::string text(const Fields& fields) {
  return text_of(window(fields[1]));
}

std::string set(const Fields& fields) {
  return send(window(fields[1]), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(fields[2].c_str()));
}

// insert BOX TEXT: in the place of what is selected.
std::string insert(const Fields& fields) {
  return send(window(fields[1]), EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(fields[2].c_str()));
}

std::string sent(const Fields& fields) {
  return send(window(fields[1]), static_cast<UINT>(number(fields[2])), number(fields[3]),
              static_cast<LPARAM>(number(fields[4])));
}

std::string post(const Fields& fields) {
  return std::to_string(PostMessageA(window(fields[1]), static_cast<UINT>(number(fields[2])), number(fields[3]),
                                     static_cast<LPARAM>(number(fields[4]))));
}

std::string state(const Fields& fields) {
  const HWND of = window(fields[1]);
  std::string out;
  if (IsIconic(of) != 0) out += "iconic ";
  if (IsWindowVisible(of) != 0) out += "visible ";
  if (GetForegroundWindow() == of) out += "front ";
  return out;
}

// The control that has the keyboard in the thread of a window.
std::string focus(const Fields& fields) {
  GUITHREADINFO info{};
  info.cbSize = sizeof info;
  GetGUIThreadInfo(GetWindowThreadProcessId(window(fields[1]), nullptr), &info);
  return shown(info.hwndFocus) + "\t" + ((info.flags & GUI_INMENUMODE) != 0 ? "menu" : "");
}

std::string show(const Fields& fields) {
  ShowWindow(window(fields[1]), static_cast<int>(number(fields[2])));
  return "";
}

std::string front(const Fields& fields) {
  return std::to_string(SetForegroundWindow(window(fields[1])));
}

// copy WINDOW SIZE [TEXT]: hands over a block of SIZE bytes that begins with TEXT; without TEXT, one without bytes.
std::string copy(const Fields& fields) {
  const std::size_t size = number(fields[2]);
  std::string bytes;
  for (const char c : fields[3]) (bytes += c) += '\0';
  bytes.resize(std::max(bytes.size(), size), 'x');
  COPYDATASTRUCT block{};
  block.cbData = static_cast<DWORD>(size);
  block.lpData = fields[3].empty() ? nullptr : bytes.data();
  return send(window(fields[1]), WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&block));
}

// keys CODE...: presses them one after the other and lets them go again.
std::string keys(const Fields& fields) {
  std::vector<INPUT> strokes;
  for (std::size_t i = 1; i < fields.size() && !fields[i].empty(); ++i) {
    INPUT stroke{};
    stroke.type = INPUT_KEYBOARD;
    stroke.ki.wVk = static_cast<WORD>(number(fields[i]));
    strokes.push_back(stroke);
  }
  for (std::size_t i = strokes.size(); i-- > 0;) {
    INPUT stroke = strokes[i];
    stroke.ki.dwFlags = KEYEVENTF_KEYUP;
    strokes.push_back(stroke);
  }
  return std::to_string(SendInput(static_cast<UINT>(strokes.size()), strokes.data(), sizeof(INPUT)));
}

std::map<std::string, HANDLE>& started() {
  static std::map<std::string, HANDLE> processes;
  return processes;
}

// start FOLDER LINE: a program, by its whole command line.
std::string start(const Fields& fields) {
  STARTUPINFOA how{};
  how.cb = sizeof how;
  PROCESS_INFORMATION made{};
  std::string line = fields[2];
  if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, fields[1].c_str(), &how, &made) == 0) {
    return "error " + std::to_string(GetLastError());
  }
  CloseHandle(made.hThread);
  const std::string name = std::to_string(made.dwProcessId);
  started()[name] = made.hProcess;
  return name;
}

// ended PROCESS MILLISECONDS: its exit code, when it ends in time.
std::string ended(const Fields& fields) {
  const HANDLE process = started()[fields[1]];
  if (WaitForSingleObject(process, static_cast<DWORD>(number(fields[2]))) != WAIT_OBJECT_0) return "runs";
  DWORD code = 0;
  GetExitCodeProcess(process, &code);
  return std::to_string(code);
}

std::string kill(const Fields& /*fields*/) {
  for (const auto& [name, process] : started()) {
    TerminateProcess(process, 99);
    WaitForSingleObject(process, kPatience);
    CloseHandle(process);
  }
  started().clear();
  return "";
}

}  // namespace

int main() {
  const std::map<std::string, std::function<std::string(const Fields&)>> commands{
      {"list", list}, {"find", find},   {"child", child}, {"text", text}, {"set", set},    {"insert", insert},
      {"send", sent}, {"post", post},   {"state", state}, {"show", show}, {"copy", copy},  {"focus", focus},
      {"keys", keys}, {"start", start}, {"ended", ended}, {"kill", kill}, {"front", front}};
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const Fields fields = fields_of(line);
    const auto found = commands.find(fields[0]);
    std::cout << (found == commands.end() ? "no such command" : found->second(fields)) << std::endl;
  }
  kill({});
}
