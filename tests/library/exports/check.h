/* What the parts of this program share: one function a family, which calls each of its exports at least once. */
#ifndef ZELDC_TESTS_LIBRARY_EXPORTS_CHECK_H
#define ZELDC_TESTS_LIBRARY_EXPORTS_CHECK_H

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zeldc.h"

#define CHECK(condition)                                                    \
  do {                                                                      \
    if (!(condition)) {                                                     \
      fprintf(stderr, "%s:%d: %s fails\n", __FILE__, __LINE__, #condition); \
      exit(1);                                                              \
    }                                                                       \
  } while (0)

/* For buffers: what runs on several threads at once shares nothing. */
#define PER_THREAD static __thread

/* Some text with repetitions: sampleText[0..kTextLen-1]. */
enum { kTextLen = 3000 };
extern uint8_t sampleText[kTextLen];

/* Memory of len bytes for a record, which the caller frees, full of what no function may rely on. */
void* DirtyMemory(int32_t len);

void CallVersionAndChecksums(void);
void CallTransform(void);
void CallRunLengths(void);
void CallBzip2Huffman(void);
void CallEncoder(void);
void CallDecoder(void);
void CallOneCallDeflate(void);
void CallByteHuffman(void);
void CallIntervals(void);
void CallVariableLengthCodes(void);
void CallDictionaryCoders(void);

#endif
