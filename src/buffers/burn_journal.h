// The burns of one image: each is whole, or undone. Before the first byte is written, a journal beside the image takes
// down what stands there, and is forced to the disk.
//
// A journal bears one of two names. While a burn is under way it is "game.bin.burning"; when the image is whole and on
// the disk it becomes "game.bin.burn", in the place of that of the burn before. So a program that was ended half-way
// leaves "game.bin.burning", and whoever burns next puts the old bytes back first. To take back a burn that was whole,
// its journal becomes "game.bin.burning" again.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "buffers/burn_record.h"
#include "files/file_handle.h"

namespace tidewright {

class BurnJournal {
 public:
  /// Of the image that is the current file of `files`, which stays so while this lives. Raises BadFileNumber.
  explicit BurnJournal(FileHandle& files);

  /// Takes the image for this program until it is closed, and puts back what a burn that was cut short had written,
  /// telling it in one line. Returns whether it did. Raises PermissionDenied where another program is burning the
  /// image, PathAccess where a file that is no journal has its name or the image has another length since then, and
  /// what reading and writing raise.
  bool recover();

  /// Writes the chunks into the image, one after another. When that fails the old bytes are
  /// put back, and it is told. Without `kept` no journal is written: that of the burn before is removed, and a program
  /// that is ended half-way leaves half a burn. Raises, before anything is written, what reading the image and making
  /// the journal raise.
  void burn(const std::vector<BurnChunk>& chunks, bool kept);

  /// Takes back the last burn, and tells it; tells what stands against it. Raises what reading and writing raise: then
  /// the next recover() goes on with it.
  void unburn();

  /// Echoes what the last burn wrote.
  void tell();

 private:
  std::optional<BurnRecord> load(const std::string& path);
  std::optional<BurnRecord> last();
  bool is_there(const std::string& path);
  void begin(const BurnRecord& record);
  void finish();
  void remove(const std::string& path);
  void write(const BurnChunk& chunk);
  void put_back(const BurnRecord& record);
  void undo(const BurnRecord& record, std::string_view why);

  FileHandle& files_;
  DataFile& image_;
  Files& disk_;
  std::string under_way_;
  std::string done_;
};

}  // namespace tidewright
