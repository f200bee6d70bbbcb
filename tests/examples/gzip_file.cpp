#include "gzip_file.h"

#include "support/oracle.h"

namespace zeldc_test {

namespace {

void AppendLittleEndian(Bytes& to, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) to.push_back(static_cast<uint8_t>(value >> 8 * i));
}

void AppendText(Bytes& to, const std::optional<Bytes>& text) {
  if (!text) return;
  Append(to, *text);
  to.push_back(0);
}

}  // namespace

Bytes GzipHeader(const GzipFields& fields) {
  const int flags = fields.flags | (fields.header_crc ? 2 : 0) | (fields.extra ? 4 : 0) | (fields.name ? 8 : 0) |
                    (fields.comment ? 16 : 0);
  Bytes header = {0x1f, 0x8b, fields.method, static_cast<uint8_t>(flags)};
  AppendLittleEndian(header, fields.time, 4);
  Append(header, {0, 3});
  if (fields.extra) {
    AppendLittleEndian(header, static_cast<uint32_t>(fields.extra->size()), 2);
    Append(header, *fields.extra);
  }
  AppendText(header, fields.name);
  AppendText(header, fields.comment);
  if (fields.header_crc) AppendLittleEndian(header, ZlibCrc32(header, 0) ^ fields.header_crc_error, 2);
  return header;
}

Bytes GzipFile(const Bytes& data, const GzipFields& fields) {
  Bytes file = GzipHeader(fields);
  Append(file, DeflateWithZlib(data));
  AppendLittleEndian(file, ZlibCrc32(data, 0), 4);
  AppendLittleEndian(file, static_cast<uint32_t>(data.size()), 4);
  return file;
}

Bytes GzipFileAround(const Bytes& stream, const Bytes& data) {
  Bytes file = GzipHeader();
  Append(file, stream);
  AppendLittleEndian(file, ZlibCrc32(data, 0), 4);
  AppendLittleEndian(file, static_cast<uint32_t>(data.size()), 4);
  return file;
}

}  // namespace zeldc_test
