// Stands in for libdeflate where no package has it: zlib answers in its place.

#include "support/oracle.h"

namespace zeldc_test {

Inflated InflateWithLibdeflate(const Bytes& stream, size_t size, const Bytes& dictionary) {
  return InflateWithZlib(stream, size, dictionary);
}

Bytes DeflateWithLibdeflate(const Bytes& data, int level) {
  ZlibOptions options;
  options.level = level < 9 ? level : 9;
  return DeflateWithZlib(data, options);
}

}  // namespace zeldc_test
