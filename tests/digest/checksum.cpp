// Checksums of every input, whole and in pieces, from fresh and from other running values.

#include "zeldc/checksum.h"

#include "families.h"

namespace zeldc_digest {

namespace {

template <typename Sum>
void InPieces(Run& run, const Memory<uint8_t>& source, uint32_t value, uint32_t split, Sum sum) {
  Split pieces(split);
  for (size_t done = 0; done < source.size();) {
    const size_t piece = pieces.Next(source.size() - done);
    run.Status(sum(source.data() + done, static_cast<int32_t>(piece), &value));
    run.digest.Number(value);
    done += piece;
  }
}

}  // namespace

void DigestChecksums(Run& run) {
  uint32_t split = 0;
  for (const Data* data : AllInputs()) {
    const Memory<uint8_t> source(run.conditions, *data);
    const auto castagnoli = [](const uint8_t* bytes, int32_t count, uint32_t* value) {
      return zelsCRC32C_8u(bytes, static_cast<uint32_t>(count), value);
    };
    for (const uint32_t way : {uint32_t{0}, ++split}) {
      for (const uint32_t value : {0x00000000u, 0x00000001u, 0xFFFFFFFFu, 0x89ABCDEFu}) {
        InPieces(run, source, value, way, zelsAdler32_8u);
        InPieces(run, source, value, way, zelsCRC32_8u);
        InPieces(run, source, value, way, zelsCRC32_BZ2_8u);
        InPieces(run, source, value, way, castagnoli);
      }
    }
    uint32_t fresh = 7;
    run.Status(zelsAdler32_8u(nullptr, 0, &fresh));
    run.digest.Number(fresh);
    for (const auto sum : {zelsAdler32_8u, zelsCRC32_8u, zelsCRC32_BZ2_8u}) {
      uint32_t value = 0xFFFFFFFF;
      run.Status(sum(source.data(), 0, &value));
      run.digest.Number(value);
    }
  }
}

}  // namespace zeldc_digest
