// gzip files made by hand, field by field (RFC 1952 section 2.3).
#pragma once

#include <optional>

#include "support/bytes.h"

namespace zeldc_test {

struct GzipFields {
  uint8_t method = 8;
  uint8_t flags = 0;  // added to those of the fields that are there
  uint32_t time = 0;
  std::optional<Bytes> extra = std::nullopt;
  std::optional<Bytes> name = std::nullopt;
  std::optional<Bytes> comment = std::nullopt;
  bool header_crc = false;
  uint16_t header_crc_error = 0;  // exclusive-ored into it
};

Bytes GzipHeader(const GzipFields& fields = {});

// Header, a Deflate stream by zlib, trailer.
Bytes GzipFile(const Bytes& data, const GzipFields& fields = {});

// The same around a Deflate stream that is given, with the trailer of `data`.
Bytes GzipFileAround(const Bytes& stream, const Bytes& data);

}  // namespace zeldc_test
