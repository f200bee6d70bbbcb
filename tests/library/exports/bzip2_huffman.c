/* The Huffman codes of a bzip2 block: description and symbols to bits, and back. */

#include "check.h"

enum { kSymbols = 500, kAlphabet = 20 };

void CallBzip2Huffman(void) {
  PER_THREAD uint16_t symbols[kSymbols], back[kSymbols + 1];
  PER_THREAD uint8_t bits[4000];
  uint32_t freq[kAlphabet] = {0}, code = 0, read_code = 0;
  zelBZ2HuffEncodeState *encoder, *allocated_encoder = NULL;
  zelBZ2HuffDecodeState *decoder, *allocated_decoder = NULL;
  const uint16_t* symbol = symbols;
  const uint8_t* src = bits;
  int32_t i, size = 0, code_bits = 0, read_bits = 0, filled, room, len, count = kSymbols;
  for (i = 0; i < kSymbols; ++i) {
    symbols[i] = i + 1 < kSymbols ? (uint16_t)(sampleText[i] % (kAlphabet - 1)) : kAlphabet - 1;
    ++freq[symbols[i]];
  }

  CHECK(zelsEncodeHuffGetSize_BZ2_16u8u(kSymbols, &size) == zelOk);
  encoder = DirtyMemory(size);
  CHECK(zelsEncodeHuffInit_BZ2_16u8u(kAlphabet, freq, symbols, kSymbols, encoder) == zelOk);
  CHECK(zelsEncodeHuffInitAlloc_BZ2_16u8u(kSymbols, kAlphabet, freq, symbols, kSymbols, &allocated_encoder) == zelOk);
  filled = 2000;
  CHECK(zelsPackHuffContext_BZ2_16u8u(&code, &code_bits, bits, &filled, allocated_encoder) == zelOk);
  room = 2000 - filled;
  CHECK(zelsEncodeHuff_BZ2_16u8u(&code, &code_bits, &symbol, &count, bits + filled, &room, encoder) == zelOk);
  CHECK(count == 0 && symbol == symbols + kSymbols);
  filled += room;
  for (; code_bits > 0; code_bits -= 8, code <<= 8) bits[filled++] = (uint8_t)(code >> 24);
  CHECK(filled < kSymbols);
  free(encoder);
  CHECK(zelsEncodeHuffFree_BZ2_16u8u(allocated_encoder) == zelOk);

  CHECK(zelsDecodeHuffGetSize_BZ2_8u16u(kSymbols, &size) == zelOk);
  decoder = DirtyMemory(size);
  CHECK(zelsDecodeHuffInit_BZ2_8u16u(kAlphabet, decoder) == zelOk);
  CHECK(zelsDecodeHuffInitAlloc_BZ2_8u16u(kSymbols, kAlphabet, &allocated_decoder) == zelOk);
  len = filled;
  CHECK(zelsUnpackHuffContext_BZ2_8u16u(&read_code, &read_bits, &src, &len, decoder) == zelOk);
  len += 4; /* zeros, so that 20 bits follow each code */
  count = kSymbols;
  CHECK(zelsDecodeHuff_BZ2_8u16u(&read_code, &read_bits, &src, &len, back, &count, decoder) == zelOk);
  CHECK(count == kSymbols - 1 && memcmp(back, symbols, sizeof(symbols)) == 0);
  free(decoder);

  src = bits;
  len = filled;
  read_code = 0;
  read_bits = 0;
  CHECK(zelsUnpackHuffContext_BZ2_8u16u(&read_code, &read_bits, &src, &len, allocated_decoder) == zelOk);
  CHECK(zelsDecodeHuffFree_BZ2_8u16u(allocated_decoder) == zelOk);
}
