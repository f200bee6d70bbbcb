#include "zlib_file.h"

namespace zeldc_test {

namespace {

void AppendBigEndian(Bytes& bytes, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
}

Bytes Framed(Bytes header, const Bytes& stream, const Bytes& data) {
  header.insert(header.end(), stream.begin(), stream.end());
  AppendBigEndian(header, ZlibAdler32(data));
  return header;
}

}  // namespace

Bytes ZlibHeader(int window_bits, const Bytes& dictionary) {
  const unsigned method = static_cast<unsigned>(window_bits - 8) << 4 | 8;
  unsigned flags = dictionary.empty() ? 0 : 0x20;
  while ((method * 256 + flags) % 31 != 0) ++flags;
  Bytes header = {static_cast<uint8_t>(method), static_cast<uint8_t>(flags)};
  if (!dictionary.empty()) AppendBigEndian(header, ZlibAdler32(dictionary));
  return header;
}

Bytes ZlibFile(const Bytes& data, const ZlibOptions& options, const Bytes& dictionary) {
  return Framed(ZlibHeader(options.window_bits, dictionary), DeflateWithZlib(data, options, dictionary), data);
}

Bytes ZlibFileAround(const Bytes& stream, const Bytes& data) { return Framed(ZlibHeader(), stream, data); }

}  // namespace zeldc_test
