#include "platform/win32/console_window.h"

#include <array>
#include <utility>
#include <vector>

#include "base/errors.h"
#include "base/text.h"
#include "platform/native_window.h"
#include "platform/win32/resource.h"
#include "platform/win32/win32_user.h"

namespace tidewright {
namespace {

constexpr char kClass[] = "TidewrightInstant";  // by which a second start finds the window
constexpr char kCaption[] = "(LOG) Instant";
constexpr char kMutex[] = "Local\\TidewrightInstant";
constexpr char kRegistryKey[] = "Software\\Tidewright";
constexpr char kPlaceValue[] = "Window";
constexpr DWORD kMostHandedOver = 65536;  // bytes
constexpr int kHandOverTries = 50;        // of 100 milliseconds: the other program may only just have started
constexpr UINT kHandedOver = WM_APP;
constexpr int kPoints = 10;
constexpr int kPointsPerInch = 72;

struct Choice {
  UINT id;
  MenuItem item;
};
constexpr std::array kChoices{
    Choice{TW_DATABASE, MenuItem::database}, Choice{TW_DECODE, MenuItem::decode},
    Choice{TW_ENCODE, MenuItem::encode},     Choice{TW_SOURCE, MenuItem::source},
    Choice{TW_EXIT, MenuItem::exit},         Choice{TW_SELECT_ALL, MenuItem::select_all},
    Choice{TW_HELP, MenuItem::help},
};

// What the box shows of a text: a NUL would end it, and a lone line end would show as nothing.
std::string showable(std::string_view text) {
  std::string shown(text);
  for (std::size_t i = 0; i < shown.size(); ++i) {
    const bool pair = (shown[i] == '\r' && i + 1 < shown.size() && shown[i + 1] == '\n') ||
                      (shown[i] == '\n' && i > 0 && text[i - 1] == '\r');
    const auto byte = static_cast<unsigned char>(shown[i]);
    if (!pair && byte < ' ' && byte != '\t') shown[i] = '\xB7';
  }
  return shown;
}

std::string narrow(const wchar_t* text, int length) {
  const int size = WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, nullptr, nullptr);
  std::string narrowed(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, 0, text, length, narrowed.data(), size, nullptr, nullptr);
  return narrowed;
}

std::wstring widened(const std::string& text) {
  const int length = static_cast<int>(text.size());
  const int size = MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), size);
  return wide;
}

int dots_per_inch(HWND window) {
  const HDC dc = GetDC(window);
  const int dots = GetDeviceCaps(dc, LOGPIXELSY);
  ReleaseDC(window, dc);
  return dots;
}

}  // namespace

ConsoleWindow::ConsoleWindow() {
  const HINSTANCE program = GetModuleHandleA(nullptr);
  WNDCLASSEXA description{};
  description.cbSize = sizeof description;
  description.lpfnWndProc = &ConsoleWindow::frame_procedure;
  description.hInstance = program;
  description.hIcon = LoadIconA(program, MAKEINTRESOURCEA(TW_ICON));
  description.hCursor = LoadCursorA(nullptr, MAKEINTRESOURCEA(32512));  // the arrow
  description.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
  description.lpszMenuName = MAKEINTRESOURCEA(TW_MENU);
  description.lpszClassName = kClass;
  RegisterClassExA(&description);
  CreateWindowExA(0, kClass, kCaption, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT,
                  nullptr, nullptr, program, this);
  if (frame_ == nullptr || box_ == nullptr) raise(ErrorNumber::out_of_memory, "Windows gives no window");
  keys_ = LoadAcceleratorsA(program, MAKEINTRESOURCEA(TW_KEYS));
  restore_place();
}

ConsoleWindow::~ConsoleWindow() {
  if (frame_ != nullptr) {
    keep_place();
    DestroyWindow(frame_);
  }
  if (font_ != nullptr) DeleteObject(font_);
}

void ConsoleWindow::make_box() {
  constexpr DWORD kStyle =
      WS_CHILD | WS_VISIBLE | WS_VSCROLL | WS_HSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_AUTOHSCROLL | ES_NOHIDESEL;
  box_ = CreateWindowExA(0, "EDIT", "", kStyle, 0, 0, 0, 0, frame_, nullptr, GetModuleHandleA(nullptr), nullptr);
  if (box_ == nullptr) return;
  SetWindowLongPtrA(box_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  box_before_ = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrA(box_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&ConsoleWindow::box_procedure)));
  SendMessageA(box_, EM_SETLIMITTEXT, 0, 0);  // as much as there is room for
  make_font();
}

void ConsoleWindow::make_font() {
  const int height = -MulDiv(kPoints, dots_per_inch(frame_), kPointsPerInch);
  const HFONT font = CreateFontA(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                                 CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, FIXED_PITCH | FF_MODERN, "Consolas");
  SendMessageA(box_, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
  if (font_ != nullptr) DeleteObject(font_);
  font_ = font;
}

void ConsoleWindow::fill_frame() {
  RECT inner{};
  GetClientRect(frame_, &inner);
  MoveWindow(box_, 0, 0, inner.right, inner.bottom, TRUE);
  set_tab_stops();
}

// One tab stop, from the width of the window: half of it, in dialog units, of which a character has four.
void ConsoleWindow::set_tab_stops() {
  RECT inner{};
  GetClientRect(frame_, &inner);
  const int unit = LOWORD(GetDialogBaseUnits());
  int stop = inner.right / (unit > 0 ? unit : 8) / 2 * 4;
  SendMessageA(box_, EM_SETTABSTOPS, 1, reinterpret_cast<LPARAM>(&stop));
}

std::string ConsoleWindow::text() {
  std::string text(static_cast<std::size_t>(GetWindowTextLengthA(box_)) + 1, '\0');
  text.resize(static_cast<std::size_t>(GetWindowTextA(box_, text.data(), static_cast<int>(text.size()))));
  return text;
}

void ConsoleWindow::text(std::string_view text) {
  SendMessageA(box_, WM_SETREDRAW, FALSE, 0);
  SetWindowTextA(box_, showable(text).c_str());
  caret_to_end();
  SendMessageA(box_, WM_SETREDRAW, TRUE, 0);
  RedrawWindow(box_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME);
}

std::size_t ConsoleWindow::caret() {
  DWORD start = 0;
  DWORD end = 0;
  SendMessageA(box_, EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
  return end;
}

void ConsoleWindow::caret_to_end() {
  const int length = GetWindowTextLengthA(box_);
  SendMessageA(box_, EM_SETSEL, static_cast<WPARAM>(length), length);
  SendMessageA(box_, EM_SCROLLCARET, 0, 0);
}

void ConsoleWindow::visible(bool visible) {
  visible_ = visible;
  ShowWindow(frame_, visible ? std::exchange(first_show_, SW_SHOW) : SW_HIDE);
  if (visible) SetFocus(box_);
}

void ConsoleWindow::dispatch(MSG& message) {
  if (keys_ != nullptr && TranslateAcceleratorA(frame_, keys_, &message) != 0) return;
  TranslateMessage(&message);
  DispatchMessageA(&message);
}

void ConsoleWindow::note(std::string_view text) {
  const std::string caption = cat({kCaption, text.empty() ? "" : " - ", showable(text)});
  SetWindowTextA(frame_, caption.c_str());
}

void ConsoleWindow::process_waiting() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, WM_KEYFIRST - 1, PM_REMOVE) != 0 ||
         PeekMessageA(&message, nullptr, WM_KEYLAST + 1, 0xFFFF, PM_REMOVE) != 0) {
    if (message.message == WM_QUIT) {
      ended_ = true;
      return;
    }
    DispatchMessageA(&message);
  }
}

void ConsoleWindow::run() {
  MSG message;
  while (!ended_ && GetMessageA(&message, nullptr, 0, 0) > 0) dispatch(message);
}

void ConsoleWindow::end() {
  ended_ = true;
  PostMessageA(frame_, WM_NULL, 0, 0);  // so that the loop looks
}

std::int64_t ConsoleWindow::milliseconds() {
  return static_cast<std::int64_t>(GetTickCount64());
}

LRESULT CALLBACK ConsoleWindow::frame_procedure(HWND window, UINT message, WPARAM word, LPARAM data) {
  if (message == WM_NCCREATE) {
    const auto* const creation = reinterpret_cast<const CREATESTRUCTA*>(data);
    auto* const self = static_cast<ConsoleWindow*>(creation->lpCreateParams);
    self->frame_ = window;
    SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  auto* const self = reinterpret_cast<ConsoleWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
  return self == nullptr ? DefWindowProcA(window, message, word, data) : self->handle_message(message, word, data);
}

LRESULT ConsoleWindow::handle_message(UINT message, WPARAM word, LPARAM data) {
  switch (message) {
    case WM_CREATE:
      make_box();
      return 0;
    case WM_SIZE:
      fill_frame();
      return 0;
    case WM_SETFOCUS:
      SetFocus(box_);
      return 0;
    case WM_DPICHANGED:
      make_font();
      fill_frame();
      return 0;
    case WM_COMMAND:
      for (const Choice& choice : kChoices) {
        if (choice.id != LOWORD(word) || events_ == nullptr) continue;
        if (choice.item == MenuItem::select_all) {
          SendMessageA(box_, EM_SETSEL, 0, -1);
        } else {
          events_->chosen(choice.item);
        }
        return 0;
      }
      break;
    case kHandedOver:
      while (events_ != nullptr && !handed_over_.empty()) {
        const std::string line = std::move(handed_over_.front());
        handed_over_.pop_front();
        events_->handed_over(line);
      }
      return 0;
    case WM_COPYDATA:
      return take_copied(reinterpret_cast<const COPYDATASTRUCT*>(data)) ? TRUE : FALSE;
    case WM_QUERYENDSESSION:
      return TRUE;
    case WM_CLOSE:
      if (events_ == nullptr || events_->closing()) end();
      return 0;
    case WM_DESTROY:
      frame_ = nullptr;
      return 0;
    default:
      break;
  }
  return DefWindowProcA(frame_, message, word, data);
}

LRESULT CALLBACK ConsoleWindow::box_procedure(HWND window, UINT message, WPARAM word, LPARAM data) {
  auto* const self = reinterpret_cast<ConsoleWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
  if (message == WM_KEYDOWN && word == VK_RETURN && self->events_ != nullptr) {
    self->events_->enter();
    // The box's own line break would come too early where the line shows a box, whose loop hands the key on.
    SendMessageA(window, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>("\r\n"));
  }
  if (message == WM_CHAR && word == VK_RETURN) return 0;
  return CallWindowProcA(self->box_before_, window, message, word, data);
}

// Checks a block that another program sent before a byte of it is read: UTF-16 text of a sensible size.
bool ConsoleWindow::take_copied(const COPYDATASTRUCT* block) {
  if (block == nullptr) return false;
  if (block->lpData == nullptr || block->cbData == 0 || block->cbData % 2 != 0 || block->cbData > kMostHandedOver) {
    return false;
  }
  const auto* const text = static_cast<const wchar_t*>(block->lpData);
  int length = static_cast<int>(block->cbData / 2);
  while (length > 0 && text[length - 1] == L'\0') --length;
  if (length == 0) return true;
  // The sender waits for an answer: the line runs when it has got it.
  handed_over_.push_back(narrow(text, length));
  PostMessageA(frame_, kHandedOver, 0, 0);
  return true;
}

void ConsoleWindow::restore_place() {
  WINDOWPLACEMENT place{};
  DWORD size = sizeof place;
  const LSTATUS read =
      RegGetValueA(HKEY_CURRENT_USER, kRegistryKey, kPlaceValue, RRF_RT_REG_BINARY, nullptr, &place, &size);
  if (read != ERROR_SUCCESS || size != sizeof place || place.length != sizeof place) return;
  // A screen that is gone must not keep the window.
  if (MonitorFromRect(&place.rcNormalPosition, MONITOR_DEFAULTTONULL) == nullptr) return;
  if (place.showCmd == SW_SHOWMAXIMIZED) first_show_ = SW_SHOWMAXIMIZED;
  place.showCmd = SW_HIDE;
  SetWindowPlacement(frame_, &place);
}

void ConsoleWindow::keep_place() {
  WINDOWPLACEMENT place{};
  place.length = sizeof place;
  if (GetWindowPlacement(frame_, &place) == 0) return;
  RegSetKeyValueA(HKEY_CURRENT_USER, kRegistryKey, kPlaceValue, REG_BINARY, &place, sizeof place);
}

struct NativeWindow::Parts {
  Parts() { user.owner(window.handle()); }

  ConsoleWindow window;
  Win32User user;
};

NativeWindow::NativeWindow() : parts_(std::make_unique<Parts>()) {}
NativeWindow::~NativeWindow() = default;

Window& NativeWindow::window() {
  return parts_->window;
}

User& NativeWindow::user() {
  return parts_->user;
}

bool NativeWindow::first_start() {
  // Kept open to the end of the program, which closes it.
  return CreateMutexA(nullptr, FALSE, kMutex) != nullptr && GetLastError() != ERROR_ALREADY_EXISTS;
}

std::string NativeWindow::command_line() {
  const char* text = GetCommandLineA();
  const char end = *text == '"' ? '"' : ' ';
  if (end == '"') ++text;
  while (*text != '\0' && *text != end) ++text;
  if (*text != '\0') ++text;
  while (*text == ' ') ++text;
  return text;
}

void NativeWindow::hand_over(const std::string& line) {
  HWND window = nullptr;
  for (int i = 0; i < kHandOverTries && window == nullptr; ++i) {
    if (i > 0) Sleep(100);
    window = FindWindowA(kClass, nullptr);
  }
  if (window == nullptr) {
    return Win32User().message_box("Tidewright runs already, but its window does not appear.");
  }
  if (IsIconic(window) != 0) ShowWindow(window, SW_RESTORE);
  SetForegroundWindow(window);
  if (line.empty()) return;
  std::wstring wide = widened(line);
  COPYDATASTRUCT block{};
  block.cbData = static_cast<DWORD>(wide.size() * sizeof(wchar_t));
  block.lpData = wide.data();
  SendMessageA(window, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&block));
}

}  // namespace tidewright
