// Raw Deflate streams by zlib, a whole buffer a call.
#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>

class ZlibEncoder {
 public:
  explicit ZlibEncoder(int level, int strategy = Z_DEFAULT_STRATEGY);
  ~ZlibEncoder() { deflateEnd(&stream_); }
  ZlibEncoder(const ZlibEncoder&) = delete;
  ZlibEncoder& operator=(const ZlibEncoder&) = delete;

  // A stream's size.
  size_t Encode(const uint8_t* data, size_t size, uint8_t* out, size_t room);

  // Room for any stream.
  size_t Bound(size_t size) { return deflateBound(&stream_, static_cast<uLong>(size)); }

 private:
  z_stream stream_{};
};

class ZlibDecoder {
 public:
  ZlibDecoder();
  ~ZlibDecoder() { inflateEnd(&stream_); }
  ZlibDecoder(const ZlibDecoder&) = delete;
  ZlibDecoder& operator=(const ZlibDecoder&) = delete;

  void Decode(const uint8_t* stream, size_t size, uint8_t* out, size_t room);

  z_stream* stream() { return &stream_; }  // for those who go on piece by piece

 private:
  z_stream stream_{};
};
