// The command database: every command that the definition file declares. The definition directives fill it, the encoder
// turns code lines into bytes with it. The directives boot and codeset put a fresh one in its place.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/collection.h"
#include "database/surroundings.h"
#include "database/tcmd.h"
#include "files/file_handle.h"
#include "script/smart_num.h"

namespace tidewright {

class Dealiaser;
class Plans;

class CmdList {
 public:
  /// Messages go through `files`, pointer values through `bank`; both outlive the database.
  CmdList(FileHandle& files, const Bank& bank);

  /// The record that the last item() found; an empty one after every encode().
  const tCmd& curcmd() const { return current_ == 0 ? none_ : record(current_); }

  /// The record under construction. The definition directives write it, add() files it and leaves a fresh one.
  tCmd& newcmd() { return newcmd_; }

  /// Files newcmd. An alias gets its parameter summary as Descriptions. A keyword or byte code that is taken already is
  /// told ("Duplicate Entry: "); the record stays, reachable by what was free.
  void add();

  /// The template of the record under `key`: a keyword, or else a byte code in upper-case hexadecimal (for an alias,
  /// its first description). curcmd becomes that record. Raises InvalidCall for a key that is not there.
  std::string item(std::string_view key, bool by_keyword);

  /// What item() gives for a record: its keyword, or what an alias stands for, "$n" for each value of the script, and
  /// its fixed parts behind ";".
  static std::string template_of(const tCmd& command);

  /// The number of records.
  std::int32_t count() const { return static_cast<std::int32_t>(commands_.size()); }

  /// Takes out the record under the byte code `key`. Positions in the indexes are left as they are, so look-ups of
  /// later records land one off. Raises InvalidCall for a key that is not there.
  void Remove(std::string_view key);

  /// All records in filing order.
  const std::vector<tCmd>& NewEnum() const { return commands_; }

  /// Turns the code line `code` into bytes, in place, and fills `extra` with its pointer list (see
  /// SmartNum::kaCodevals). Returns the value list; an empty one, with a message, for a line that is no command
  /// ("Invalid Command : ") or whose values do not fit it ("Invald Command :"): `code` is as it was then, and `extra`
  /// says why.
  std::string encode(std::string& code, std::string& extra, std::int16_t lineno);

  /// Turns the bytes `data` into command text, in place, commands separated by "; ", and fills `text` with the pointer
  /// list that FileBuffer's PointerPeek or pointerpoke take. Encoding the text gives exactly these bytes; what no
  /// command of the database would give is data.
  ///
  /// With `raw` false, `data` is a labelled chunk, decoded whole: data stands in "#raw" lines, its registered pointers
  /// in
  /// "#inline" ones. A pointer is written "$n", n its 1-based position in the chunk; `text` holds pairs n,kind. With
  /// `raw` true it is a piece of an image, decoded up to the end of the script, to data (which a comment tells) or to a
  /// section that is written already. Pointers are numbers; `text` holds pairs value,kind of those into the image, each
  /// once.
  Decoded decode(std::string& data, std::string& text, bool raw, const Surroundings& around = {});

  /// Replaces each command of the text that decode() gave by the phrase of the alias that gives exactly this command,
  /// of several the one with the most fixed parts.
  void dealias(std::string& data, const Surroundings& around = {});

  /// Resolves `spec`, what a parameter's description asks for: "mask(..)", "select(..)", "bind(..)name" or a plain
  /// text, for the script value `value`, which is rewritten. `spec` becomes the word before the bracket. Returns the
  /// position of the command that a bind binds to, 0 for none. Raises InvalidCall for a bind to a name that is not
  /// there.
  std::int16_t resolveparm(std::string& spec, std::string& value) const;

 private:
  friend class Encoder;
  friend class Decoder;
  friend class Plans;

  static std::string describe(const tCmd& command);
  void file_under(Collection<std::size_t>& index, const std::string& key, const std::string& keyword);
  const tCmd& record(std::size_t position) const;

  void forget_inverse();

  /// The record under `keyword`, or null.
  const tCmd* find(std::string_view keyword) const;

  FileHandle* files_;
  const Bank* bank_;
  std::size_t current_ = 0;  // position of curcmd, 0 for the empty record
  tCmd none_;
  tCmd newcmd_;
  std::vector<tCmd> commands_;
  Collection<std::size_t> codes_;     // 1-based positions in commands_
  Collection<std::size_t> keywords_;  // the same
  bool has_phrases_ = false;          // some keyword has several words
  tCmd placeholder_;
  std::shared_ptr<Plans> plans_;                // for decoding, made when first wanted; gone with every change
  std::shared_ptr<const Dealiaser> dealiaser_;  // the same
};

}  // namespace tidewright
