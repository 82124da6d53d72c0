#include "buffers/burn_journal.h"

#include <algorithm>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"

namespace tidewright {
namespace {

std::string position_text(std::int64_t position) {
  return cat({"0x", hex(static_cast<std::int32_t>(position))});
}

std::string lengths_text(const BurnRecord& record) {
  if (record.old_length == record.new_length) return cat({"the length stayed ", record.new_length});
  return cat({"the file grew from ", record.old_length, " to ", record.new_length, " bytes"});
}

}  // namespace

BurnJournal::BurnJournal(FileHandle& files)
    : files_(files),
      image_(files.data_file()),
      disk_(files.host().files),
      under_way_(image_.whole_path() + ".burning"),
      done_(image_.whole_path() + ".burn") {}

bool BurnJournal::is_there(const std::string& path) {
  return disk_.find(path).has_value();
}

// The record of the journal at `path`; nothing where it was cut short. Raises PathAccess for another file.
std::optional<BurnRecord> BurnJournal::load(const std::string& path) {
  DataFile file(disk_.open(path, Access::read), path, path, true, false);
  const std::int64_t length = file.length();
  const std::string mark = file.read(std::min(static_cast<std::size_t>(length), BurnRecord::kMark.size()));
  // What was being written when the power went may be shorter than the mark, or nothing but zeros.
  const bool begun = BurnRecord::kMark.starts_with(mark) || mark.find_first_not_of('\0') == std::string::npos;
  if (!begun) raise(ErrorNumber::path_access, cat({path, " is no journal of a burn, and stands where one would be"}));
  return BurnRecord::read(cat({mark, file.read(static_cast<std::size_t>(length) - mark.size())}));
}

void BurnJournal::remove(const std::string& path) {
  disk_.remove_file(path);
  disk_.sync_names(path);
}

bool BurnJournal::recover() {
  if (!image_.lock())
    raise(ErrorNumber::permission_denied, cat({image_.name(), " is being burned by another program"}));
  if (!is_there(under_way_)) return false;
  const std::optional<BurnRecord> record = load(under_way_);
  if (!record) {
    // A journal is whole before the first byte of its burn is written.
    remove(under_way_);
    files_.echo({" - A burn of ", image_.name(), " was cut short before it wrote anything"});
    return false;
  }
  const std::int64_t length = image_.length();
  if (length < record->old_length || length > record->new_length) {
    raise(ErrorNumber::path_access,
          cat({under_way_, " is of a burn that was cut short, but ", image_.name(), " has ", length, " bytes, not ",
               record->old_length, " to ", record->new_length, ": one of the two is to be moved away"}));
  }
  put_back(*record);
  files_.echo({" - A burn of ", image_.name(), " was cut short: the old bytes are back"});
  return true;
}

// Makes the image what it was before the burn, on the disk, and then forgets that burn.
void BurnJournal::put_back(const BurnRecord& record) {
  for (const BurnRecord::Stretch& stretch : record.stretches) {
    if (stretch.old_bytes.empty()) continue;
    image_.seek(stretch.position);
    image_.write(stretch.old_bytes);
  }
  image_.cut(record.old_length);
  image_.sync();
  if (is_there(under_way_)) remove(under_way_);
}

void BurnJournal::burn(const std::vector<BurnChunk>& chunks, bool kept) {
  if (chunks.empty()) return;
  if (is_there(done_)) load(done_);  // raises where a file of another kind has the journal's name
  const BurnRecord record(image_, chunks);
  if (kept) {
    begin(record);
  } else if (is_there(done_)) {
    remove(done_);
  }
  try {
    for (const BurnChunk& chunk : chunks) write(chunk);
    image_.flush();
    if (kept) finish();
  } catch (const RuntimeError& error) {
    return undo(record, error.description);
  }
  if (record.new_length > record.old_length) {
    files_.echo({" - The file has grown from ", record.old_length, " to ", record.new_length, " bytes"});
  }
}

void BurnJournal::begin(const BurnRecord& record) {
  try {
    DataFile journal(disk_.open(under_way_, Access::create), under_way_, under_way_, false, true);
    journal.write(record.bytes());
    journal.sync();
    journal.close();
    disk_.sync_names(under_way_);
  } catch (const RuntimeError& error) {
    try {
      if (is_there(under_way_)) disk_.remove_file(under_way_);
    } catch (const RuntimeError&) {
      // Half a journal: the next burn knows it for what it is.
    }
    throw RuntimeError{error.number, cat({error.description, ". \"#journal off\" burns without a journal"})};
  }
}

void BurnJournal::finish() {
  image_.sync();
  disk_.replace_file(under_way_, done_);
  try {
    disk_.sync_names(done_);
  } catch (const RuntimeError&) {
    // The image is whole. At worst, a loss of power brings the other name back, and the next burn the old bytes.
  }
}

void BurnJournal::write(const BurnChunk& chunk) {
  files_.SeekData(chunk.position);
  for (std::size_t start = 0; start < chunk.bytes.size(); start += FileHandle::kLongestPut) {
    files_.putblock(chunk.bytes.substr(start, FileHandle::kLongestPut));
  }
}

// After a failure half-way.
void BurnJournal::undo(const BurnRecord& record, std::string_view why) {
  files_.echo_fault(cat({" - The burn failed: ", why}));
  try {
    put_back(record);
    files_.echo_fault(cat({" - The old bytes are back: ", image_.name(), " is as it was before"}));
  } catch (const RuntimeError& error) {
    files_.echo_fault(cat({" - The old bytes could not be put back: ", error.description}));
    const bool later = is_there(under_way_);
    files_.echo_fault(cat({" - ", image_.name(),
                           later ? " is half burned until its next burn, which tries that again"
                                 : " is half burned, and there is no journal"}));
  }
}

// The record of the last burn that was whole; tells where there is none.
std::optional<BurnRecord> BurnJournal::last() {
  const bool there = is_there(done_);
  std::optional<BurnRecord> record = there ? load(done_) : std::nullopt;
  if (!record) {
    files_.echo_fault(there ? cat({" - The journal ", done_, " is damaged"})
                            : cat({" - There is no journal of a burn of ", image_.name()}));
  }
  return record;
}

void BurnJournal::unburn() {
  const std::optional<BurnRecord> record = last();
  if (!record) return;
  if (!record->describes(image_)) {
    return files_.echo_fault(cat({" - ", image_.name(), " has changed since its last burn: nothing is taken back"}));
  }
  disk_.replace_file(done_, under_way_);
  disk_.sync_names(under_way_);
  put_back(*record);
  files_.echo({" - The last burn of ", image_.name(), " is taken back: ", record->written(), " bytes, ",
               lengths_text(*record)});
}

void BurnJournal::tell() {
  if (is_there(under_way_)) {
    files_.echo({" - A burn of ", image_.name(), " was cut short: the next one puts the old bytes back first"});
    if (!is_there(done_)) return;
  }
  const std::optional<BurnRecord> record = last();
  if (!record) return;
  files_.echo({" - The last burn of ", image_.name(), " wrote ", record->written(), " bytes; ", lengths_text(*record)});
  for (const BurnRecord::Entry& entry : record->entries) {
    files_.echo({" - ", entry.label, " at ", position_text(entry.position), ", length ", entry.length});
  }
}

}  // namespace tidewright
