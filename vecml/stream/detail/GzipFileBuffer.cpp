// SPDX-License-Identifier: MIT
#include "vecml/stream/detail/GzipFileBuffer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vecml::detail {

namespace {

// Bytes read from the file, and bytes inflated, per step.
constexpr std::size_t kChunk = std::size_t(1) << 16;
// Reads of at least this many bytes are inflated straight into the
// reader's memory, at most kMaxDirectInflate per step (zlib counts its
// output space in 32 bits).
constexpr std::size_t kMinDirectInflate = std::size_t(1) << 12;
constexpr std::size_t kMaxDirectInflate = std::size_t(1) << 30;
// zlib's window size with its flag to expect a gzip header and trailer.
constexpr int kGzipWindowBits = 16 + MAX_WBITS;

// read(2) into `buffer`, retried when a signal interrupts it.
ssize_t readRetrying(int fd, unsigned char* buffer, std::size_t size) {
  ssize_t got = 0;
  do {
    got = ::read(fd, buffer, size);
  } while (got < 0 && errno == EINTR);
  return got;
}

}  // namespace

int openRegularFile(const char* name, OpenProblem& problem,
                    std::uint64_t& size) {
  const int fd = ::open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) {
    problem =
        errno == EISDIR ? OpenProblem::directory : OpenProblem::cannotOpen;
    return -1;
  }
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    problem = S_ISDIR(status.st_mode) ? OpenProblem::directory
                                      : OpenProblem::notRegularFile;
    ::close(fd);
    return -1;
  }
  problem = OpenProblem::none;
  size = std::uint64_t(status.st_size);
  return fd;
}

GzipFileBuffer::GzipFileBuffer(int fd)
    : fd(fd), zs(new z_stream_s{}), input(kChunk), output(kChunk) {
  setg(output.data(), output.data(), output.data());
  if (inflateInit2(zs.get(), kGzipWindowBits) != Z_OK) {
    zs.reset();
    fail(State::noMemory);
    return;
  }
  detectFormat();
}

GzipFileBuffer::~GzipFileBuffer() {
  if (zs) inflateEnd(zs.get());
  ::close(fd);
}

std::size_t GzipFileBuffer::fail(State why) {
  if (current == State::good) current = why;
  ended = true;
  return 0;
}

std::size_t GzipFileBuffer::readInput() {
  // Input not yet taken by zlib stays where it is; only an empty buffer is
  // refilled.
  const ssize_t got = readRetrying(fd, input.data(), input.size());
  if (got < 0) return fail(State::readError);
  zs->next_in = input.data();
  zs->avail_in = static_cast<uInt>(got);
  return std::size_t(got);
}

void GzipFileBuffer::detectFormat() {
  // A regular file delivers what it has, but a read may still stop short.
  std::size_t have = readInput();
  while (have == 1) {
    const ssize_t got = readRetrying(fd, input.data() + 1, input.size() - 1);
    if (got < 0) {
      fail(State::readError);
      return;
    }
    if (got == 0) break;
    have += std::size_t(got);
    zs->avail_in = static_cast<uInt>(have);
  }
  gzip = have >= 2 && input[0] == 0x1f && input[1] == 0x8b;
}

GzipFileBuffer::int_type GzipFileBuffer::underflow() {
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  if (ended) return traits_type::eof();
  const std::size_t got = gzip ? nextInflated() : nextPlain();
  if (got == 0) return traits_type::eof();
  return traits_type::to_int_type(*gptr());
}

std::size_t GzipFileBuffer::nextPlain() {
  if (zs->avail_in == 0 && readInput() == 0) {
    ended = true;
    return 0;
  }
  char* start = reinterpret_cast<char*>(zs->next_in);
  const std::size_t got = zs->avail_in;
  zs->avail_in = 0;
  setg(start, start, start + got);
  return got;
}

std::size_t GzipFileBuffer::nextInflated() {
  const std::size_t got = inflateInto(output.data(), output.size());
  setg(output.data(), output.data(), output.data() + got);
  return got;
}

std::size_t GzipFileBuffer::inflateInto(char* to, std::size_t room) {
  bool inputLeft = true;
  while (true) {
    if (zs->avail_in == 0 && inputLeft) {
      inputLeft = readInput() > 0;
      if (ended) return 0;  // a read error
    }
    zs->next_out = reinterpret_cast<Bytef*>(to);
    zs->avail_out = static_cast<uInt>(room);
    const int status = inflate(zs.get(), Z_NO_FLUSH);
    const std::size_t got = room - zs->avail_out;
    if (status == Z_STREAM_END) {
      checkNothingFollows();
      ended = true;
    } else if (status != Z_OK && status != Z_BUF_ERROR) {
      return fail(State::broken);
    } else if (got == 0 && !inputLeft) {
      return fail(State::broken);  // the file ends inside the member
    }
    if (got > 0 || ended) return got;
  }
}

std::streamsize GzipFileBuffer::xsgetn(char* to, std::streamsize wanted) {
  std::streamsize done = 0;
  while (done < wanted) {
    const std::streamsize buffered = egptr() - gptr();
    if (buffered > 0) {
      const std::streamsize step = std::min(buffered, wanted - done);
      std::memcpy(to + done, gptr(), std::size_t(step));
      gbump(static_cast<int>(step));
      done += step;
    } else if (ended) {
      break;
    } else if (gzip && std::size_t(wanted - done) >= kMinDirectInflate) {
      // A long read takes the inflated bytes where they are going, without
      // a copy through the get area.
      const std::size_t room =
          std::min(std::size_t(wanted - done), kMaxDirectInflate);
      const std::size_t got = inflateInto(to + done, room);
      if (got == 0) break;
      done += std::streamsize(got);
    } else if (traits_type::eq_int_type(underflow(), traits_type::eof())) {
      break;
    }
  }
  return done;
}

void GzipFileBuffer::checkNothingFollows() {
  if (zs->avail_in > 0 || readInput() > 0) fail(State::trailingData);
}

}  // namespace vecml::detail
