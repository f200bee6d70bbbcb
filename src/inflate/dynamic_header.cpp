// The header of a dynamic block, resumable at any bit. What it describes is not judged here: codes that are incomplete
// or over-subscribed give tables whose entries without a meaning end the block when they are met.

#include "inflate/dynamic_header.h"

#include "core/vector_primitives.h"

namespace zeldc {

namespace {

zelStatus ReadCounts(DecoderState* s, BitReader* in) {
  in->Refill();
  if (in->count < 14) return zelWarnSrcShort;
  s->litLenCodes = static_cast<int32_t>(in->Take(5)) + 257;
  s->distanceCodes = static_cast<int32_t>(in->Take(5)) + 1;
  s->codeLengthCodes = static_cast<int32_t>(in->Take(4)) + 4;
  s->lengthsRead = 0;
  s->decodeStage = kStageDynamicCodeCode;
  return zelOk;
}

zelStatus ReadCodeLengthCode(DecoderState* s, BitReader* in) {
  // All of them or none: up to 57 bits, which is more than a refill promises.
  in->Refill();
  if (in->Available() < static_cast<uint32_t>(3 * s->codeLengthCodes)) return zelWarnSrcShort;
  uint8_t lengths[kCodeLengthSymbols] = {};
  for (int i = 0; i < s->codeLengthCodes; ++i) {
    if (in->count < 3) in->Refill();
    lengths[kCodeLengthOrder[i]] = static_cast<uint8_t>(in->Take(3));
  }
  BuildCodeLengthTable(lengths, &s->codeLengthTable);
  s->decodeStage = kStageDynamicLengths;
  return zelOk;
}

zelStatus ReadCodeLengths(DecoderState* s, BitReader* in) {
  const int total = s->litLenCodes + s->distanceCodes;
  int n = s->lengthsRead;
  zelStatus status = zelOk;
  while (n < total) {
    in->Refill();
    const unsigned entry = s->codeLengthTable.entries[in->bits & 127];
    if (entry == kNoCodeLength) {
      // A pattern without a code: each of its bits stands for a zero length, so that reading goes on.
      if (in->count < 7) {
        status = zelWarnSrcShort;
        break;
      }
      in->Consume(1);
      s->codeLengths[n++] = 0;
      continue;
    }
    const unsigned symbol = entry >> 3;
    const unsigned codeBits = entry & 7;
    const unsigned extraBits = CodeLengthExtraBits(symbol);
    if (in->count < codeBits + extraBits) {
      status = zelWarnSrcShort;
      break;
    }
    in->Consume(codeBits);
    if (symbol < 16) {
      s->codeLengths[n++] = static_cast<uint8_t>(symbol);
      continue;
    }
    int run = static_cast<int>(in->Take(extraBits)) + (symbol == 18 ? 11 : 3);
    const uint8_t value = symbol == 16 && n > 0 ? s->codeLengths[n - 1] : 0;
    if (run > total - n) run = total - n;
    ownsSet_8u(value, s->codeLengths + n, run);
    n += run;
  }
  s->lengthsRead = n;
  return status;
}

}  // namespace

zelStatus ReadDynamicHeader(DecoderState* s, BitReader* in) {
  zelStatus status;
  if (s->decodeStage == kStageDynamicCounts && (status = ReadCounts(s, in)) != zelOk) return status;
  if (s->decodeStage == kStageDynamicCodeCode && (status = ReadCodeLengthCode(s, in)) != zelOk) return status;
  if (s->decodeStage == kStageDynamicLengths) {
    if ((status = ReadCodeLengths(s, in)) != zelOk) return status;
    BuildBlockTables(s->codeLengths, s->litLenCodes, s->codeLengths + s->litLenCodes, s->distanceCodes, &s->tables);
    s->decodeStage = kStageSymbols;
  }
  return zelOk;
}

}  // namespace zeldc
