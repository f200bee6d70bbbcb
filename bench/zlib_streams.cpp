#include "zlib_streams.h"

#include "bench.h"

namespace {

constexpr int kRawWindowBits = -15;

void SetBuffers(z_stream* stream, const uint8_t* in, size_t size, uint8_t* out, size_t room) {
  stream->next_in = in;
  stream->avail_in = static_cast<uInt>(size);
  stream->next_out = out;
  stream->avail_out = static_cast<uInt>(room);
}

}  // namespace

ZlibEncoder::ZlibEncoder(int level, int strategy) {
  if (deflateInit2(&stream_, level, Z_DEFLATED, kRawWindowBits, 8, strategy) != Z_OK) Fail("zlib's deflateInit2 fails");
}

size_t ZlibEncoder::Encode(const uint8_t* data, size_t size, uint8_t* out, size_t room) {
  deflateReset(&stream_);
  SetBuffers(&stream_, data, size, out, room);
  if (deflate(&stream_, Z_FINISH) != Z_STREAM_END) Fail("zlib's deflate fails");
  return stream_.total_out;
}

ZlibDecoder::ZlibDecoder() {
  if (inflateInit2(&stream_, kRawWindowBits) != Z_OK) Fail("zlib's inflateInit2 fails");
}

void ZlibDecoder::Decode(const uint8_t* stream, size_t size, uint8_t* out, size_t room) {
  inflateReset(&stream_);
  SetBuffers(&stream_, stream, size, out, room);
  if (inflate(&stream_, Z_FINISH) != Z_STREAM_END) Fail("zlib's inflate fails");
}
