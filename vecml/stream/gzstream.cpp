// SPDX-License-Identifier: MIT
#include "vecml/stream/gzstream.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

static_assert(std::is_same_v<gzFile, gzFile_s*>,
              "the header's handle type must be zlib's gzFile");

namespace {

// The first bytes of the buffer keep already-read characters for putback.
constexpr int putbackSize = 4;
// Reading fills the buffer behind the putback area.
constexpr int readSize = gzstreambuf::bufferSize - putbackSize;
// One byte short of the buffer, so overflow() always has room for the
// character that triggered it.
constexpr int putAreaSize = gzstreambuf::bufferSize - 1;

bool has(int mode, std::ios::openmode bit) { return (mode & bit) != 0; }

// zlib mode string for an accepted open mode: no level or strategy, so
// zlib's defaults apply. Without a direction it is "b" alone, which zlib
// refuses to open.
const char* zlibMode(int mode) {
  if (has(mode, std::ios::in)) return "rb";
  if (has(mode, std::ios::out)) return "wb";
  return "b";
}

}  // namespace

gzstreambuf::gzstreambuf()
    : file(nullptr), buffer(), opened(false), openMode(0) {
  resetAreas();
}

gzstreambuf::~gzstreambuf() { close(); }

void gzstreambuf::resetAreas() {
  setp(buffer, buffer + putAreaSize);
  setg(buffer + putbackSize, buffer + putbackSize, buffer + putbackSize);
}

gzstreambuf* gzstreambuf::open(const char* name, int mode) {
  if (opened) return nullptr;
  openMode = mode;
  if (has(mode, std::ios::app) || has(mode, std::ios::ate)) return nullptr;
  if (has(mode, std::ios::in) && has(mode, std::ios::out)) return nullptr;
  if (name == nullptr) return nullptr;
  file = gzopen(name, zlibMode(mode));
  if (file == nullptr) return nullptr;
  opened = true;
  resetAreas();
  return this;
}

gzstreambuf* gzstreambuf::close() {
  if (!opened) return nullptr;
  sync();
  opened = false;
  const int status = gzclose(file);
  file = nullptr;
  return status == Z_OK ? this : nullptr;
}

int gzstreambuf::flush_buffer() {
  if (!opened) return traits_type::eof();
  const int pending = static_cast<int>(pptr() - pbase());
  if (gzwrite(file, pbase(), static_cast<unsigned>(pending)) != pending)
    return traits_type::eof();
  pbump(-pending);
  return pending;
}

int gzstreambuf::sync() {
  if (pptr() > pbase() && flush_buffer() == traits_type::eof()) return -1;
  return 0;
}

gzstreambuf::int_type gzstreambuf::underflow() {
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  if (!has(openMode, std::ios::in) || !opened) return traits_type::eof();

  // Keep the last characters read in front of the new data for putback.
  const std::ptrdiff_t kept =
      std::min<std::ptrdiff_t>(gptr() - eback(), putbackSize);
  char* const start = buffer + putbackSize;
  if (kept > 0) std::memmove(start - kept, gptr() - kept, kept);

  const int count = gzread(file, start, readSize);
  // A read error and the end of the data both end the input.
  if (count <= 0) return traits_type::eof();
  setg(start - kept, start, start + count);
  return traits_type::to_int_type(*gptr());
}

gzstreambuf::int_type gzstreambuf::overflow(int_type c) {
  if (!has(openMode, std::ios::out) || !opened) return traits_type::eof();
  // Only a failed write leaves the extra byte behind the put area in use;
  // retry those pending bytes before taking another character.
  if (pptr() == buffer + bufferSize && flush_buffer() == traits_type::eof())
    return traits_type::eof();
  if (!traits_type::eq_int_type(c, traits_type::eof())) {
    *pptr() = traits_type::to_char_type(c);
    pbump(1);
  }
  if (flush_buffer() == traits_type::eof()) return traits_type::eof();
  return c;
}

gzstreambase::gzstreambase() { init(&buf); }

gzstreambase::gzstreambase(const char* name, int mode) {
  init(&buf);
  open(name, mode);
}

gzstreambase::~gzstreambase() { close(); }

void gzstreambase::open(const char* name, int mode) {
  if (buf.open(name, mode) == nullptr) setstate(std::ios::badbit);
}

void gzstreambase::close() {
  if (buf.is_open() && buf.close() == nullptr) setstate(std::ios::badbit);
}

// The std::istream and std::ostream constructors reset the shared stream
// state, so the streams open only after them: a failed open stays visible.

igzstream::igzstream() : std::istream(gzstreambase::rdbuf()) {}

igzstream::igzstream(const char* name, int mode)
    : std::istream(gzstreambase::rdbuf()) {
  open(name, mode);
}

void igzstream::open(const char* name, int mode) {
  gzstreambase::open(name, mode);
}

ogzstream::ogzstream() : std::ostream(gzstreambase::rdbuf()) {}

ogzstream::ogzstream(const char* name, int mode)
    : std::ostream(gzstreambase::rdbuf()) {
  open(name, mode);
}

void ogzstream::open(const char* name, int mode) {
  gzstreambase::open(name, mode);
}
