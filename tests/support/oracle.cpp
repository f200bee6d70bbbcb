#include "support/oracle.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>

namespace zeldc_test {

namespace {

// Runs zlib's inflate over the whole input, into a buffer that grows.
Inflated RunInflate(z_stream& z, const Bytes& stream, size_t max_size) {
  Inflated result;
  Bytes input = stream;  // zlib's interface wants it writable
  z.next_in = input.data();
  z.avail_in = static_cast<uInt>(input.size());
  int status = Z_OK;
  while (status == Z_OK) {
    const size_t filled = result.data.size();
    result.data.resize(std::min(max_size + 1, filled + std::max<size_t>(filled, 4096)));
    z.next_out = result.data.data() + filled;
    z.avail_out = static_cast<uInt>(result.data.size() - filled);
    if (z.avail_out == 0) break;
    status = inflate(&z, Z_NO_FLUSH);
    result.data.resize(result.data.size() - z.avail_out);
  }
  result.consumed = input.size() - z.avail_in;
  result.complete = status == Z_STREAM_END && result.data.size() <= max_size;
  return result;
}

testing::AssertionResult Check(const char* who, const Inflated& got, const Bytes& stream, const Bytes& expected) {
  if (!got.complete) {
    return testing::AssertionFailure() << who << " rejects the stream after " << got.consumed << " of " << stream.size()
                                       << " bytes and " << got.data.size() << " bytes of output";
  }
  if (got.data != expected) {
    const auto at = std::mismatch(got.data.begin(), got.data.end(), expected.begin(), expected.end());
    return testing::AssertionFailure() << who << " makes " << got.data.size() << " bytes of the stream instead of "
                                       << expected.size() << ", the first difference at "
                                       << at.first - got.data.begin();
  }
  if (got.consumed != stream.size()) {
    return testing::AssertionFailure() << who << " leaves " << stream.size() - got.consumed << " bytes behind";
  }
  return testing::AssertionSuccess();
}

}  // namespace

Inflated InflateWithZlib(const Bytes& stream, size_t max_size, const Bytes& dictionary) {
  z_stream z{};
  if (inflateInit2(&z, -15) != Z_OK) throw std::runtime_error("inflateInit2");
  if (!dictionary.empty() &&
      inflateSetDictionary(&z, dictionary.data(), static_cast<uInt>(dictionary.size())) != Z_OK) {
    throw std::runtime_error("inflateSetDictionary");
  }
  Inflated result = RunInflate(z, stream, max_size);
  inflateEnd(&z);
  return result;
}

testing::AssertionResult DecodesTo(const Bytes& stream, const Bytes& expected, const Bytes& dictionary) {
  const auto by_zlib = Check("zlib", InflateWithZlib(stream, expected.size(), dictionary), stream, expected);
  if (!by_zlib) return by_zlib;
  return Check("libdeflate", InflateWithLibdeflate(stream, expected.size(), dictionary), stream, expected);
}

testing::AssertionResult UnzipsTo(const Bytes& file, const Bytes& expected) {
  z_stream z{};
  if (inflateInit2(&z, 15 + 32) != Z_OK) throw std::runtime_error("inflateInit2");
  const Inflated result = RunInflate(z, file, expected.size());
  inflateEnd(&z);
  return Check("zlib", result, file, expected);
}

Bytes DeflateWithZlib(const Bytes& data, const ZlibOptions& options, const Bytes& dictionary) {
  z_stream z{};
  if (deflateInit2(&z, options.level, Z_DEFLATED, -options.window_bits, options.memory_level, options.strategy) !=
      Z_OK) {
    throw std::runtime_error("deflateInit2");
  }
  if (!dictionary.empty() &&
      deflateSetDictionary(&z, dictionary.data(), static_cast<uInt>(dictionary.size())) != Z_OK) {
    throw std::runtime_error("deflateSetDictionary");
  }
  Bytes input = data;
  Bytes out;
  size_t given = 0;
  int status = Z_OK;
  while (status != Z_STREAM_END) {
    const size_t piece = options.flush_every == 0 ? input.size() : std::min(options.flush_every, input.size() - given);
    const bool last = given + piece == input.size();
    z.next_in = input.data() + given;
    z.avail_in = static_cast<uInt>(piece);
    given += piece;
    do {
      const size_t filled = out.size();
      out.resize(filled + 65536);
      z.next_out = out.data() + filled;
      z.avail_out = 65536;
      status = deflate(&z, last ? Z_FINISH : options.flush);
      out.resize(out.size() - z.avail_out);
      if (status == Z_STREAM_ERROR) throw std::runtime_error("deflate");
    } while (z.avail_out == 0);
  }
  deflateEnd(&z);
  return out;
}

// zlib takes a null pointer, which an empty vector may hold, for a request of the start value.
uint32_t ZlibAdler32(const Bytes& data, uint32_t start) {
  if (data.empty()) return start;
  return static_cast<uint32_t>(adler32(start, data.data(), static_cast<uInt>(data.size())));
}

uint32_t ZlibCrc32(const Bytes& data, uint32_t start) {
  if (data.empty()) return start;
  return static_cast<uint32_t>(crc32(start, data.data(), static_cast<uInt>(data.size())));
}

}  // namespace zeldc_test
