/* A C program that calls every export of the library with some real work, and checks what comes of it. */

#include <pthread.h>

#include "check.h"
#include "support/uninitialised.h"

uint8_t sampleText[kTextLen];

void* DirtyMemory(int32_t len) {
  void* memory = malloc((size_t)len);
  CHECK(memory != NULL);
  memset(memory, 0xA5, (size_t)len);
  MakeUninitialised(memory, (size_t)len);
  return memory;
}

/* The decoder reads what the encoder has written. */
static void CallDeflate(void) {
  CallEncoder();
  CallDecoder();
}

static void (*const kFamilies[])(void) = {
    CallVersionAndChecksums, CallTransform,   CallRunLengths, CallBzip2Huffman,        CallDeflate,
    CallOneCallDeflate,      CallByteHuffman, CallIntervals,  CallVariableLengthCodes, CallDictionaryCoders,
};
enum { kNumFamilies = sizeof(kFamilies) / sizeof(kFamilies[0]), kMaxThreads = 64 };

static void* CallAllFrom(void* first) {
  size_t start = *(const size_t*)first;
  for (size_t i = 0; i < kNumFamilies; ++i) kFamilies[(start + i) % kNumFamilies]();
  return NULL;
}

/* Without an argument one thread does everything once; else so many do at once, each beginning elsewhere. */
int main(int argc, char** argv) {
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

  int numThreads = argc > 1 ? atoi(argv[1]) : 0;
  CHECK(numThreads >= 0 && numThreads <= kMaxThreads);
  pthread_t threads[kMaxThreads];
  size_t first[kMaxThreads] = {0};
  if (numThreads == 0) CallAllFrom(first);
  for (int i = 0; i < numThreads; ++i) {
    first[i] = (size_t)i;
    CHECK(pthread_create(threads + i, NULL, CallAllFrom, first + i) == 0);
  }
  for (int i = 0; i < numThreads; ++i) CHECK(pthread_join(threads[i], NULL) == 0);
  return 0;
}
