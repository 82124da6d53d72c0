#include "files/data_file.h"

#include <algorithm>
#include <utility>

#include "base/errors.h"
#include "base/text.h"

namespace tidewright {

DataFile::DataFile(std::unique_ptr<File> file, std::string name, std::string whole_path, bool readable, bool writable)
    : file_(std::move(file)),
      name_(std::move(name)),
      whole_path_(std::move(whole_path)),
      readable_(readable),
      writable_(writable) {}

// Makes at least one byte readable; false at the end of the file.
bool DataFile::fill() {
  if (read_at_ < read_buffer_.size()) return true;
  want_readable();
  const std::int64_t position = read_position();
  const std::size_t size = std::exchange(moved_, false) ? kFirstPiece : kBufferSize;
  read_buffer_.resize(size);
  file_->seek(position);
  read_buffer_.resize(file_->read(read_buffer_.data(), size));
  buffer_start_ = position;
  read_at_ = 0;
  return !read_buffer_.empty();
}

void DataFile::want_readable() {
  if (!readable_) raise(ErrorNumber::bad_file_mode, cat({name_, " is not open for reading"}));
  if (unflushed_ > 0) flush();
}

void DataFile::drop_read_buffer() {
  buffer_start_ = read_position();
  read_buffer_.clear();
  read_at_ = 0;
}

int DataFile::peek() {
  return fill() ? static_cast<unsigned char>(read_buffer_[read_at_]) : -1;
}

int DataFile::get() {
  const int byte = peek();
  if (byte >= 0) ++read_at_;
  return byte;
}

void DataFile::refuse_too_long(std::string_view line) {
  if (line.size() > kLongestLine) raise(ErrorNumber::overflow, cat({"a line of more than ", kLongestLine, " bytes"}));
}

void DataFile::read_line(std::string& line) {
  line.clear();
  if (!fill()) raise(ErrorNumber::input_past_end, name_);
  const bool first = lines_read_++ == 0;
  do {
    const std::string_view left = std::string_view(read_buffer_).substr(read_at_);
    const std::size_t feed = left.find('\n');
    const std::size_t end = std::min(feed, left.substr(0, feed).find('\r'));
    line.append(left.substr(0, end));
    refuse_too_long(line);
    if (end != std::string_view::npos) {
      read_at_ += end;
      if (get() == '\r' && peek() == '\n') get();
      break;
    }
    read_at_ = read_buffer_.size();
  } while (fill());
  // Editors mark UTF-8 texts with these three bytes; they are no part of the first line.
  if (first && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
}

std::string DataFile::read(std::size_t size) {
  std::string bytes;
  while (bytes.size() < size && fill()) {
    const std::size_t piece = std::min(size - bytes.size(), read_buffer_.size() - read_at_);
    bytes.append(read_buffer_, read_at_, piece);
    read_at_ += piece;
  }
  // Beyond the end the position moves on all the same.
  if (bytes.size() < size) {
    buffer_start_ = read_position() + static_cast<std::int64_t>(size - bytes.size());
    read_buffer_.clear();
    read_at_ = 0;
  }
  bytes.resize(size, '\0');
  return bytes;
}

void DataFile::write(std::string_view before, std::initializer_list<Piece> pieces, std::string_view behind) {
  std::size_t size = before.size() + behind.size();
  for (const Piece& piece : pieces) size += piece.text().size();
  if (!writable_) raise(ErrorNumber::permission_denied, cat({name_, " cannot be written"}));
  if (unflushed_ >= kBufferSize) flush();
  if (unflushed_ == 0) drop_read_buffer();
  const std::size_t start = unflushed_;
  if (write_buffer_.size() < start + size) write_buffer_.resize(std::max(start + size, 2 * write_buffer_.size()));
  unflushed_ += size;
  char* at = write_buffer_.data() + start;
  const auto put = [&at](std::string_view text) { at += text.copy(at, text.size()); };
  put(before);
  for (const Piece& piece : pieces) put(piece.text());
  put(behind);
}

void DataFile::seek(std::int64_t position) {
  if (position == this->position()) return;
  flush();
  const std::int64_t in_buffer = position - buffer_start_;
  if (in_buffer >= 0 && in_buffer < static_cast<std::int64_t>(read_buffer_.size())) {
    read_at_ = static_cast<std::size_t>(in_buffer);
    return;
  }
  moved_ = true;
  buffer_start_ = position;
  read_buffer_.clear();
  read_at_ = 0;
}

std::int64_t DataFile::length() {
  flush();
  return file_->length();
}

void DataFile::cut(std::int64_t length) {
  if (this->length() <= length) return;
  drop_read_buffer();
  file_->cut(length);
}

bool DataFile::at_end() {
  return readable_ ? peek() < 0 : true;
}

void DataFile::flush() {
  if (unflushed_ == 0) return;
  std::string_view left(write_buffer_.data(), std::exchange(unflushed_, 0));
  const bool lost_before = std::exchange(lost_bytes_, true);  // until all of these have arrived
  file_->seek(buffer_start_);
  while (!left.empty()) {
    const std::size_t written = file_->write(left);
    if (written == 0) raise(ErrorNumber::device_io, name_);
    buffer_start_ += static_cast<std::int64_t>(written);
    left.remove_prefix(written);
  }
  lost_bytes_ = lost_before;
}

void DataFile::sync() {
  flush();
  file_->sync();
}

void DataFile::close() {
  flush();
  file_->close();
}

}  // namespace tidewright
