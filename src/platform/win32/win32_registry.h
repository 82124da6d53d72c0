// The current user's registry.
#pragma once

#include "platform/host.h"

namespace tidewright {

/// Keys are below HKEY_CURRENT_USER. Raises PermissionDenied where Windows refuses.
class Win32Registry : public Registry {
 public:
  bool available() override { return true; }
  std::optional<std::string> text(const std::string& key, const std::string& name) override;
  void text(const std::string& key, const std::string& name, const std::string& text) override;
  bool has(const std::string& key) override;
  std::vector<std::string> below(const std::string& key) override;
  void remove_text(const std::string& key, const std::string& name) override;
  void remove(const std::string& key) override;
  void announce() override;
};

}  // namespace tidewright
