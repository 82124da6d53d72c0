// The program-wide objects, one of each, in the order of their making. The directives boot and codeset put fresh
// contents in the place of the database objects; the objects themselves live as long as the program.
#pragma once

#include <string>

#include "buffers/file_buffer.h"
#include "database/cmd_list.h"
#include "decompiler/record.h"
#include "files/file_handle.h"
#include "files/instant.h"
#include "platform/host.h"
#include "processor/control.h"
#include "script/smart_num.h"
#include "tables/define_table.h"
#include "tables/text_table.h"

namespace tidewright {

struct Shared {
  /// Opens the session log in `log_folder`, raising what that raises, and attaches the console to it.
  Shared(const Host& host, Instant& console, const std::string& log_folder)
      : instant(console),
        cmd_list(file_handle, bank),
        record(file_handle, bank),
        file_buffer(file_handle, bank),
        control(*this),
        file_handle(host, log_folder) {
    file_handle.attach(instant);
  }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;

  Bank bank;
  Instant& instant;
  TextTable text_table;
  DefineTable define_table;
  CmdList cmd_list;
  Record record;
  FileBuffer file_buffer;
  Control control;
  FileHandle file_handle;
};

}  // namespace tidewright
