/* A C program that calls every export of the library with some real work, and checks what comes of it. */

#include "check.h"

uint8_t sampleText[kTextLen];

void* DirtyMemory(int32_t len) {
  void* memory = malloc((size_t)len);
  CHECK(memory != NULL);
  memset(memory, 0xA5, (size_t)len);
  return memory;
}

int main(void) {
  static const char* const kWords[] = {"tick ", "tock ", "ding ", "dong ", "cuckoo "};
  uint32_t random = 1;
  size_t filled = 0;
  while (filled < kTextLen) {
    const char* word = kWords[(random >> 16) % 5];
    size_t len = strlen(word);
    if (len > kTextLen - filled) len = kTextLen - filled;
    memcpy(sampleText + filled, word, len);
    filled += len;
    random = random * 1103515245u + 12345u;
  }

  CallVersionAndChecksums();
  CallTransform();
  CallRunLengths();
  CallBzip2Huffman();
  CallEncoder();
  CallDecoder();
  CallOneCallDeflate();
  CallByteHuffman();
  CallIntervals();
  CallVariableLengthCodes();
  CallDictionaryCoders();
  return 0;
}
