// The part of the oracle that is libdeflate.

#include <libdeflate.h>

#include <algorithm>
#include <stdexcept>

#include "support/oracle.h"

namespace zeldc_test {

Inflated InflateWithLibdeflate(const Bytes& stream, size_t size, const Bytes& dictionary) {
  // libdeflate knows no dictionaries: give it one as a stored block in front of the stream.
  const size_t dictionary_size = std::min<size_t>(dictionary.size(), 32768);
  Bytes input;
  if (dictionary_size > 0) {
    const auto n = static_cast<uint16_t>(dictionary_size);
    const auto complement = static_cast<uint16_t>(~n);
    input = {0, static_cast<uint8_t>(n), static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(complement),
             static_cast<uint8_t>(complement >> 8)};
    input.insert(input.end(), dictionary.end() - static_cast<ptrdiff_t>(dictionary_size), dictionary.end());
  }
  const size_t prefix = input.size();
  input.insert(input.end(), stream.begin(), stream.end());

  libdeflate_decompressor* const decompressor = libdeflate_alloc_decompressor();
  if (!decompressor) throw std::runtime_error("libdeflate_alloc_decompressor");
  Inflated result;
  Bytes output(dictionary_size + size + 1);
  size_t consumed = 0, written = 0;
  const libdeflate_result status = libdeflate_deflate_decompress_ex(decompressor, input.data(), input.size(),
                                                                    output.data(), output.size(), &consumed, &written);
  libdeflate_free_decompressor(decompressor);
  if (status == LIBDEFLATE_SUCCESS && written == dictionary_size + size) {
    result.complete = true;
    result.consumed = consumed - prefix;
    result.data.assign(output.begin() + static_cast<ptrdiff_t>(dictionary_size), output.end() - 1);
  }
  return result;
}

Bytes DeflateWithLibdeflate(const Bytes& data, int level) {
  libdeflate_compressor* const compressor = libdeflate_alloc_compressor(level);
  if (!compressor) throw std::runtime_error("libdeflate_alloc_compressor");
  Bytes out(libdeflate_deflate_compress_bound(compressor, data.size()));
  out.resize(libdeflate_deflate_compress(compressor, data.data(), data.size(), out.data(), out.size()));
  libdeflate_free_compressor(compressor);
  if (out.empty()) throw std::runtime_error("libdeflate_deflate_compress");
  return out;
}

}  // namespace zeldc_test
