#include "platform/win32/win32_registry.h"

#include <algorithm>
#include <array>
#include <shlobj.h>
#include <windows.h>

#include "base/errors.h"

namespace tidewright {
namespace {

constexpr DWORD kLongestKeyName = 256;  // with its NUL

// A key that is open as long as this lives; null where it is not there.
class OpenKey {
 public:
  OpenKey(const std::string& key, REGSAM access) {
    if (RegOpenKeyExA(HKEY_CURRENT_USER, key.c_str(), 0, access, &handle_) != ERROR_SUCCESS) handle_ = nullptr;
  }
  ~OpenKey() {
    if (handle_ != nullptr) RegCloseKey(handle_);
  }
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;

  HKEY handle() const { return handle_; }

 private:
  HKEY handle_ = nullptr;
};

}  // namespace

std::optional<std::string> Win32Registry::text(const std::string& key, const std::string& name) {
  DWORD size = 0;
  if (RegGetValueA(HKEY_CURRENT_USER, key.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, nullptr, &size) !=
      ERROR_SUCCESS) {
    return {};
  }
  std::string text(size, '\0');
  if (RegGetValueA(HKEY_CURRENT_USER, key.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, text.data(), &size) !=
      ERROR_SUCCESS) {
    return {};
  }
  text.resize(std::min(text.find('\0'), text.size()));
  return text;
}

void Win32Registry::text(const std::string& key, const std::string& name, const std::string& text) {
  const LSTATUS status = RegSetKeyValueA(HKEY_CURRENT_USER, key.c_str(), name.c_str(), REG_SZ, text.c_str(),
                                         static_cast<DWORD>(text.size() + 1));
  if (status != ERROR_SUCCESS) raise(ErrorNumber::permission_denied, "HKEY_CURRENT_USER\\" + key);
}

bool Win32Registry::has(const std::string& key) {
  return OpenKey(key, KEY_READ).handle() != nullptr;
}

std::vector<std::string> Win32Registry::below(const std::string& key) {
  std::vector<std::string> names;
  const OpenKey open(key, KEY_READ);
  if (open.handle() == nullptr) return names;
  std::array<char, kLongestKeyName> name;
  for (DWORD i = 0;; ++i) {
    auto size = static_cast<DWORD>(name.size());
    if (RegEnumKeyExA(open.handle(), i, name.data(), &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    names.emplace_back(name.data(), size);
  }
  std::sort(names.begin(), names.end());
  return names;
}

void Win32Registry::remove_text(const std::string& key, const std::string& name) {
  RegDeleteKeyValueA(HKEY_CURRENT_USER, key.c_str(), name.c_str());
}

void Win32Registry::remove(const std::string& key) {
  RegDeleteTreeA(HKEY_CURRENT_USER, key.c_str());
}

void Win32Registry::announce() {
  SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
}

}  // namespace tidewright
