// What the tests of buffers share: a session with its buffers, and a way to fill them.
#pragma once

#include <gtest/gtest.h>
#include <string>

#include "tests/session.h"

namespace tidewright {

class BufferTest : public testing::Test {
 protected:
  void put(std::uint8_t buffer, const std::string& label, const std::string& bytes, const std::string& pointers = "") {
    buffers.inbuffer(buffer);
    buffers.inname(label);
    buffers.inmode(3);
    buffers.add_Data(bytes, pointers);
  }

  Session session;
  FileBuffer& buffers = session.shared->file_buffer;
};

}  // namespace tidewright
