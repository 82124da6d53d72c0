#include "platform/memory/memory_host.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "base/errors.h"
#include "base/text.h"
#include "platform/wildcard.h"

namespace tidewright {
namespace {

constexpr std::size_t kShortBase = 8;
constexpr std::size_t kShortExtension = 3;
/// What of a long name stands before the "~" of its short form, as long as the counter has one digit.
constexpr std::size_t kShortStem = kShortBase - 2;

}  // namespace

bool MemoryFaults::happens(const std::string& path) {
  if (!broken) {
    if (!steps) return true;
    if (*steps > 0) {
      --*steps;
      return true;
    }
    broken = true;
    if (then == Breakdown::stops) throw MachineStopped{};
  } else if (then != Breakdown::lasts) {
    return then == Breakdown::passes;
  }
  raise(ErrorNumber::device_io, path);
}

namespace {

class MemoryFile final : public File {
 public:
  MemoryFile(std::string path, std::string key, std::shared_ptr<MemoryNode> node, bool writable, MemoryFaults& faults)
      : path_(std::move(path)), key_(std::move(key)), node_(std::move(node)), writable_(writable), faults_(faults) {}

  std::size_t read(char* data, std::size_t size) override {
    const std::string& bytes = open_node().bytes;
    if (faults_.unreadable.contains(key_)) raise(ErrorNumber::device_io, path_);
    if (position_ >= bytes.size()) return 0;
    const std::size_t count = bytes.copy(data, size, position_);
    position_ += count;
    return count;
  }

  std::size_t write(std::string_view data) override {
    std::string& bytes = open_node().bytes;
    if (!writable_) raise(ErrorNumber::device_io, path_);
    if (data.empty()) return 0;
    data = data.substr(0, faults_.most_per_write.value_or(data.size()));
    if (!faults_.happens(path_)) return data.size();
    if (faults_.room) {
      // What a seek skipped beyond the end wants room, too.
      const std::size_t skipped = position_ > bytes.size() ? position_ - bytes.size() : 0;
      if (*faults_.room <= skipped) raise(ErrorNumber::disk_full, path_);
      data = data.substr(0, *faults_.room - skipped);
      *faults_.room -= skipped + data.size();
    }
    // What was skipped by a seek beyond the end reads as zeros.
    if (bytes.size() < position_ + data.size()) bytes.resize(position_ + data.size());
    bytes.replace(position_, data.size(), data);
    position_ += data.size();
    return data.size();
  }

  void seek(std::int64_t position) override {
    open_node();
    if (position < 0) raise(ErrorNumber::device_io, path_);
    position_ = static_cast<std::size_t>(position);
  }

  std::int64_t length() override { return static_cast<std::int64_t>(open_node().bytes.size()); }
  void cut(std::int64_t length) override {
    std::string& bytes = open_node().bytes;
    if (!writable_ || length < 0 || length > this->length()) raise(ErrorNumber::device_io, path_);
    if (faults_.happens(path_)) bytes.resize(static_cast<std::size_t>(length));
  }
  void sync() override {
    MemoryNode& node = open_node();
    if (faults_.happens(path_)) node.on_disk = node.bytes;
  }
  bool lock() override { return !faults_.locked.contains(key_); }
  void close() override { node_.reset(); }

 private:
  MemoryNode& open_node() {
    if (!node_) raise(ErrorNumber::device_io, path_);
    return *node_;
  }

  std::string path_;
  std::string key_;
  std::shared_ptr<MemoryNode> node_;  // empty once closed
  bool writable_;
  MemoryFaults& faults_;
  std::size_t position_ = 0;
};

std::string uppered(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), upper);
  return result;
}

/// A name cut at its last dot, the dot left out.
struct NameParts {
  std::string_view base;
  std::string_view extension;
};

NameParts name_parts(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return {name, {}};
  return {name.substr(0, dot), name.substr(dot + 1)};
}

bool is_short(std::string_view name) {
  const auto [base, extension] = name_parts(name);
  return !base.empty() && base.size() <= kShortBase && extension.size() <= kShortExtension && !name.ends_with('.') &&
         base.find('.') == std::string_view::npos && name.find_first_of(" +,;=[]") == std::string_view::npos;
}

/// The characters of `part` that a short name can have: no blanks and dots, "_" for what it must not hold.
std::string short_part(std::string_view part, std::size_t most) {
  std::string result;
  for (const char c : part) {
    if (c == ' ' || c == '.') continue;
    result += std::string_view("+,;=[]").find(c) == std::string_view::npos ? upper(c) : '_';
  }
  return result.substr(0, most);
}

template <class T>
T next_answer(std::deque<T>& answers) {
  if (answers.empty()) return T{};
  T answer = std::move(answers.front());
  answers.pop_front();
  return answer;
}

}  // namespace

MemoryFiles::MemoryFiles(PathStyle style) : windows_(style == PathStyle::windows), drive_(windows_ ? 'C' : '\0') {
  if (windows_) {
    add_drive('C');
    add_drive('D');
  } else {
    insert("/", kDirectory);
  }
  for (const std::string name : {"desk", "tidewright"}) insert(join(root(drive_), name), kDirectory);
  current_[drive_] = join(root(drive_), "desk");
}

// Paths

std::string MemoryFiles::key(std::string_view whole) const {
  return windows_ ? uppered(whole) : std::string(whole);
}

std::string MemoryFiles::root(char drive) const {
  return windows_ ? cat({drive, ":\\"}) : "/";
}

/// The current folder of a drive: its root until another was entered.
std::string MemoryFiles::current(char drive) const {
  const auto entered = current_.find(drive);
  return entered == current_.end() ? root(drive) : entered->second;
}

/// The folder above; a root is its own.
std::string MemoryFiles::parent(const std::string& whole) const {
  const std::size_t root_size = windows_ ? 3 : 1;
  const std::size_t cut = whole.rfind(separator());
  return whole.substr(0, cut == std::string::npos ? 0 : std::max(cut, root_size));
}

std::string MemoryFiles::last_part(const std::string& whole) const {
  const std::size_t cut = whole.rfind(separator());
  return cut + 1 == whole.size() ? whole : whole.substr(cut + 1);
}

std::string MemoryFiles::join(const std::string& folder, const std::string& name) const {
  return folder.ends_with(separator()) ? folder + name : folder + separator() + name;
}

MemoryFiles::Place MemoryFiles::locate(const std::string& path) const {
  if (path.find('\0') != std::string::npos) raise(ErrorNumber::device_io, path);
  if (path.empty()) return {};
  char drive = drive_;
  std::size_t start = 0;
  if (windows_ && path.size() >= 2 && path[1] == ':') {
    drive = upper(path[0]);
    start = 2;
  }
  const bool from_root = start < path.size() && is_separator(path[start]);
  Place place{from_root ? root(drive) : current(drive), is_separator(path.back())};
  while (start < path.size()) {
    std::size_t end = start;
    while (end < path.size() && !is_separator(path[end])) ++end;
    if (end > start) place.whole = step(place.whole, path.substr(start, end - start));
    start = end + 1;
  }
  return place;
}

/// One part of a path further. A POSIX machine does not step back out of a folder that is not there: the dots are kept,
/// and as nothing is called that, the path leads nowhere.
std::string MemoryFiles::step(const std::string& whole, const std::string& part) const {
  const bool dots_count = windows_ || is_folder(whole);
  if (part == "." && dots_count) return whole;
  if (part == ".." && dots_count) return parent(whole);
  return join(whole, long_name(whole, part));
}

/// The name of the entry that `name`, in whatever letter case or in short form, means; `name` when there is none.
std::string MemoryFiles::long_name(const std::string& folder, const std::string& name) const {
  if (const MemoryNode* node = at(join(folder, name))) return node->name;
  if (windows_) {
    for (const MemoryNode* child : children(folder)) {
      if (same_text(child->short_name, name)) return child->name;
    }
  }
  return name;
}

// The tree

MemoryNode* MemoryFiles::at(const std::string& whole) const {
  const auto found = nodes_.find(key(whole));
  return found == nodes_.end() ? nullptr : found->second.get();
}

/// What stands at `place`; a file does not when the path asks for a folder.
MemoryNode* MemoryFiles::existing(const Place& place) const {
  return place.folder_wanted && !is_folder(place.whole) ? nullptr : at(place.whole);
}

bool MemoryFiles::is_folder(const std::string& whole) const {
  const MemoryNode* node = at(whole);
  return node != nullptr && (node->attributes & kDirectory) != 0;
}

/// The entries of a folder in the order of their names, as the style compares them.
std::vector<const MemoryNode*> MemoryFiles::children(const std::string& folder) const {
  const std::string folder_key = key(folder);
  std::vector<const MemoryNode*> result;
  for (auto item = nodes_.upper_bound(folder_key); item != nodes_.end(); ++item) {
    if (!item->first.starts_with(folder_key)) break;
    if (parent(item->first) == folder_key) result.push_back(item->second.get());
  }
  return result;
}

int MemoryFiles::attributes_of(const MemoryNode& node) const {
  return node.attributes | (!windows_ && node.name.starts_with('.') ? kHidden : kNormal);
}

MemoryNode& MemoryFiles::insert(const std::string& whole, int attributes) {
  auto node = std::make_shared<MemoryNode>();
  node->name = last_part(whole);
  node->attributes = attributes;
  if (windows_ && whole != parent(whole)) node->short_name = free_short_name(parent(whole), node->name);
  return *(nodes_[key(whole)] = std::move(node));
}

std::string MemoryFiles::free_short_name(const std::string& folder, const std::string& name) const {
  if (is_short(name)) return uppered(name);
  const std::size_t first = std::min(name.find_first_not_of('.'), name.size());
  const auto [base, extension] = name_parts(std::string_view(name).substr(first));
  const std::string stem = short_part(base, kShortStem);
  const std::string end = short_part(extension, kShortExtension);
  const std::vector<const MemoryNode*> others = children(folder);
  for (int number = 1;; ++number) {
    const std::string tail = cat({'~', number});
    std::string candidate = stem.substr(0, kShortBase - tail.size()) + tail;
    if (!end.empty()) candidate += '.' + end;
    const auto has_it = [&](const MemoryNode* other) { return other->short_name == candidate; };
    if (std::none_of(others.begin(), others.end(), has_it)) return candidate;
  }
}

// Refusals

/// Whether `whole` or a folder above it is one of `keys`.
bool MemoryFiles::is_listed(const std::set<std::string>& keys, std::string whole) const {
  while (!keys.contains(key(whole))) {
    std::string above = parent(whole);
    if (above == whole) return false;
    whole = std::move(above);
  }
  return true;
}

void MemoryFiles::refuse_denied(const Place& place, const std::string& path) const {
  if (is_listed(faults_.denied, place.whole)) raise(ErrorNumber::permission_denied, path);
}

/// Raises why there is nothing at `place`: `missing`, or path_not_found when a file stands where a folder should, and
/// in the windows style also when the folder is missing. (POSIX systems tell a missing folder and a missing file
/// alike.)
void MemoryFiles::raise_missing(const Place& place, const std::string& path, ErrorNumber missing) const {
  if (place.folder_wanted && at(place.whole) != nullptr) raise(ErrorNumber::path_not_found, path);
  std::string folder = parent(place.whole);
  if (windows_ && !is_folder(folder)) raise(ErrorNumber::path_not_found, path);
  while (at(folder) == nullptr && parent(folder) != folder) folder = parent(folder);
  raise(at(folder) != nullptr && !is_folder(folder) ? ErrorNumber::path_not_found : missing, path);
}

// The operations

std::unique_ptr<File> MemoryFiles::open(const std::string& path, Access access, const std::string& called) {
  const Place place = locate(path);
  const bool writing = access != Access::read;
  refuse_denied(place, called);
  if (writing && is_listed(faults_.write_denied, place.whole)) raise(ErrorNumber::permission_denied, called);
  MemoryNode* node = existing(place);
  if (node == nullptr) {
    const bool can_be_made = writing && is_folder(parent(place.whole)) && at(place.whole) == nullptr;
    if (!can_be_made) raise_missing(place, called, ErrorNumber::file_not_found);
    if (place.folder_wanted) raise(ErrorNumber::path_access, called);
    if (!faults_.happens(called)) raise(ErrorNumber::device_io, called);
    node = &insert(place.whole, kNormal);
  }
  if ((node->attributes & kDirectory) != 0) raise(ErrorNumber::path_access, called);
  if (writing && (node->attributes & kReadOnly) != 0) raise(ErrorNumber::permission_denied, called);
  if (access == Access::create && !node->bytes.empty() && faults_.happens(called)) node->bytes.clear();
  const std::string place_key = key(place.whole);
  return std::make_unique<MemoryFile>(called, place_key, nodes_.at(place_key), writing, faults_);
}

std::string MemoryFiles::current_folder() {
  std::string folder = current(drive_);
  if (!is_folder(folder)) raise(ErrorNumber::path_not_found, folder);
  return folder;
}

void MemoryFiles::change_folder(const std::string& folder) {
  const Place place = locate(folder);
  refuse_denied(place, folder);
  if (!is_folder(place.whole)) raise(ErrorNumber::path_not_found, folder);
  current_[windows_ ? place.whole.front() : '\0'] = place.whole;
}

void MemoryFiles::change_drive(char drive) {
  if (!windows_ || !is_folder(root(upper(drive)))) raise(ErrorNumber::device_unavailable, cat({drive, ":"}));
  drive_ = upper(drive);
}

std::optional<Entry> MemoryFiles::find(const std::string& path) {
  const MemoryNode* node = existing(locate(path));
  if (node == nullptr) return std::nullopt;
  return Entry{node->name, attributes_of(*node)};
}

std::vector<Entry> MemoryFiles::list(const std::string& pattern, int attributes) {
  std::size_t cut = pattern.size();
  while (cut > 0 && !is_separator(pattern[cut - 1]) && !(windows_ && pattern[cut - 1] == ':')) --cut;
  const std::string folder = cut == 0 ? "." : pattern.substr(0, cut);
  const std::string wanted = pattern.substr(cut);
  const Place place = locate(folder);
  refuse_denied(place, folder);
  std::vector<Entry> entries;
  if (!is_folder(place.whole)) return entries;
  for (const MemoryNode* child : children(place.whole)) {
    // A pattern without wildcards names an entry as any path does, so its short form will do.
    if (!matches(wanted, child->name) && !(windows_ && same_text(wanted, child->short_name))) continue;
    const int found = attributes_of(*child);
    if ((found & (kHidden | kSystem | kDirectory) & ~attributes) == 0) entries.push_back({child->name, found});
  }
  return entries;
}

void MemoryFiles::make_folder(const std::string& folder) {
  const Place place = locate(folder);
  refuse_denied(place, folder);
  if (at(place.whole) != nullptr) raise(ErrorNumber::path_access, folder);
  if (!is_folder(parent(place.whole))) raise_missing(place, folder, ErrorNumber::path_not_found);
  insert(place.whole, kDirectory);
}

void MemoryFiles::remove_folder(const std::string& folder) {
  const Place place = locate(folder);
  refuse_denied(place, folder);
  if (!is_folder(place.whole)) raise(ErrorNumber::path_not_found, folder);
  bool in_use = place.whole == parent(place.whole) || !children(place.whole).empty();
  for (const auto& [drive, entered] : current_) in_use = in_use || (windows_ && entered == place.whole);
  if (in_use) raise(ErrorNumber::path_access, folder);
  nodes_.erase(key(place.whole));
}

/// The key of the file at `place`, which can be taken away.
std::string MemoryFiles::removable(const Place& place, const std::string& path) const {
  const MemoryNode* node = existing(place);
  if (node == nullptr) raise_missing(place, path, ErrorNumber::file_not_found);
  if ((node->attributes & kDirectory) != 0) raise(ErrorNumber::path_access, path);
  const auto item = nodes_.find(key(place.whole));
  const bool is_open = item->second.use_count() > 1;
  if (windows_ && (is_open || (node->attributes & kReadOnly) != 0)) raise(ErrorNumber::permission_denied, path);
  return item->first;
}

void MemoryFiles::remove_file(const std::string& path) {
  const Place place = locate(path);
  refuse_denied(place, path);
  const std::string place_key = removable(place, path);
  if (faults_.happens(path)) nodes_.erase(place_key);
}

void MemoryFiles::replace_file(const std::string& from, const std::string& to) {
  const Place source = locate(from);
  const Place target = locate(to);
  refuse_denied(source, to);
  refuse_denied(target, to);
  const std::string old_key = removable(source, to);
  if (!is_folder(parent(target.whole))) raise_missing(target, to, ErrorNumber::file_not_found);
  if (target.folder_wanted) raise(ErrorNumber::path_not_found, to);
  if (key(target.whole) == old_key || !faults_.happens(to)) return;
  if (at(target.whole) != nullptr) nodes_.erase(removable(target, to));
  const std::shared_ptr<MemoryNode> node = nodes_.extract(old_key).mapped();
  node->name = last_part(target.whole);
  if (windows_) node->short_name = free_short_name(parent(target.whole), node->name);
  nodes_[key(target.whole)] = node;
}

std::string MemoryFiles::whole_path(const std::string& path) {
  const Place place = locate(path);
  return existing(place) != nullptr ? place.whole : path;
}

std::string MemoryFiles::short_name(const std::string& path) {
  if (!windows_ || existing(locate(path)) == nullptr) return {};
  std::size_t start = path.size() >= 2 && path[1] == ':' ? 2 : 0;
  std::string result = path.substr(0, start);
  while (start < path.size()) {
    std::size_t end = start;
    while (end < path.size() && !is_separator(path[end])) ++end;
    const std::string part = path.substr(start, end - start);
    // A name that ".." takes back again need not exist; it stays as it is.
    const MemoryNode* node = at(locate(path.substr(0, end)).whole);
    const bool is_name = !part.empty() && part != "." && part != ".." && node != nullptr;
    result += is_name ? node->short_name : part;
    if (end < path.size()) result += path[end];
    start = end + 1;
  }
  return result;
}

// What tests prepare

void MemoryFiles::add_drive(char drive) {
  if (!windows_) throw std::logic_error("a POSIX machine has no drives");
  const std::string whole = root(upper(drive));
  if (at(whole) == nullptr) insert(whole, kDirectory);
}

void MemoryFiles::add_folder(const std::string& path) {
  const Place place = locate(path);
  std::vector<std::string> missing;
  std::string whole = place.whole;
  for (; at(whole) == nullptr && parent(whole) != whole; whole = parent(whole)) missing.push_back(whole);
  if (!is_folder(whole)) throw std::logic_error("no folder can be made at " + path);
  for (; !missing.empty(); missing.pop_back()) insert(missing.back(), kDirectory);
}

void MemoryFiles::add_file(const std::string& path, std::string_view bytes) {
  const Place place = locate(path);
  if (place.folder_wanted || is_folder(place.whole)) throw std::logic_error("no file can be made at " + path);
  add_folder(parent(place.whole));
  MemoryNode* node = at(place.whole);
  if (node == nullptr) node = &insert(place.whole, kNormal);
  node->on_disk = node->bytes = bytes;
  keep_names();
}

void MemoryFiles::lose_power(std::mt19937& chance) {
  constexpr std::size_t kPiece = 8;  // far smaller than what a disk writes at once
  const auto lost = [&chance] { return chance() % 2 == 0; };
  if (lost()) nodes_ = nodes_on_disk_;
  for (const auto& [key, node] : nodes_) {
    node->name = last_part(key);  // that of a file replaced since
    std::string& bytes = node->bytes;
    const std::string written = bytes;
    bytes.resize((lost() ? node->on_disk : written).size());
    for (std::size_t at = 0; at < bytes.size(); at += kPiece) {
      const std::string& piece = lost() ? node->on_disk : written;
      for (std::size_t i = at; i < std::min(at + kPiece, bytes.size()); ++i)
        bytes[i] = i < piece.size() ? piece[i] : '\0';
    }
    node->on_disk = bytes;
  }
  keep_names();
}

const MemoryNode& MemoryFiles::file(const std::string& path) const {
  const MemoryNode* node = existing(locate(path));
  if (node == nullptr || (node->attributes & kDirectory) != 0) throw std::logic_error("no such file: " + path);
  return *node;
}

bool MemoryFiles::exists(const std::string& path) const {
  return existing(locate(path)) != nullptr;
}

void MemoryFiles::set_attributes(const std::string& path, int attributes) {
  MemoryNode* node = existing(locate(path));
  if (node == nullptr) throw std::logic_error("nothing there: " + path);
  const int settable = windows_ ? kReadOnly | kHidden | kSystem : kReadOnly;
  node->attributes = (node->attributes & kDirectory) | (attributes & settable);
}

std::string MemoryFiles::fault_key(const std::string& path) const {
  return key(locate(path).whole);
}

void MemoryClock::set(int year, int month, int day, int hour, int minute, int second) {
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  const std::chrono::sys_days days = date;
  const std::chrono::sys_days new_year = date.year() / std::chrono::January / 1;
  now_ = std::tm{};
  now_.tm_year = year - 1900;
  now_.tm_mon = month - 1;
  now_.tm_mday = day;
  now_.tm_hour = hour;
  now_.tm_min = minute;
  now_.tm_sec = second;
  now_.tm_wday = static_cast<int>(std::chrono::weekday(days).c_encoding());
  now_.tm_yday = static_cast<int>((days - new_year).count());
}

bool MemoryUser::yes_no_box(const std::string& text, const std::string& title) {
  show(MemoryBox::Kind::yes_no, title, text);
  return next_answer(yes_no_answers);
}

std::string MemoryUser::input_box(const std::string& prompt, const std::string& title) {
  show(MemoryBox::Kind::input, title, prompt);
  return next_answer(input_answers);
}

std::string MemoryUser::file_box(const std::string& title, bool saving) {
  show(saving ? MemoryBox::Kind::save_file : MemoryBox::Kind::open_file, title, "");
  return next_answer(file_answers);
}

void MemoryUser::show(MemoryBox::Kind kind, const std::string& title, const std::string& text) {
  boxes.push_back({kind, title, text});
}

void MemoryMachine::turn(std::set<std::string>& keys, const std::string& path, bool on) {
  if (on) {
    keys.insert(files_.fault_key(path));
  } else {
    keys.erase(files_.fault_key(path));
  }
}

std::optional<std::string> MemoryRegistry::text(const std::string& key, const std::string& name) {
  const auto found = keys_.find(key);
  if (found == keys_.end() || !found->second.contains(name)) return {};
  return found->second.at(name);
}

void MemoryRegistry::text(const std::string& key, const std::string& name, const std::string& text) {
  keys_[key][name] = text;
}

bool MemoryRegistry::has(const std::string& key) {
  return keys_.contains(key) || !below(key).empty();
}

std::vector<std::string> MemoryRegistry::below(const std::string& key) {
  std::vector<std::string> names;
  for (const auto& [path, texts] : keys_) {
    if (!path.starts_with(key + "\\")) continue;
    const std::string rest = path.substr(key.size() + 1);
    const std::string name = rest.substr(0, rest.find('\\'));
    if (names.empty() || names.back() != name) names.push_back(name);
  }
  return names;
}

void MemoryRegistry::remove_text(const std::string& key, const std::string& name) {
  if (const auto found = keys_.find(key); found != keys_.end()) found->second.erase(name);
}

void MemoryRegistry::remove(const std::string& key) {
  std::erase_if(keys_, [&](const auto& entry) { return entry.first == key || entry.first.starts_with(key + "\\"); });
}

std::string MemoryRegistry::all() const {
  std::string lines;
  for (const auto& [key, texts] : keys_) {
    for (const auto& [name, text] : texts) lines += cat({key, ": ", name, " = ", text, "\n"});
  }
  return lines;
}

}  // namespace tidewright
