/* zelarena: makes the record of each family from an arena of its own, and shows who asked for what. */

#include <stdio.h>
#include <stdlib.h>
#include <zeldc.h>

#include "own_core.h"

/* A family's coder: InitAlloc and release. */
typedef zelStatus (*MakeAndRelease)(void);

static zelStatus Deflate(void) {
  zelLZ77State* record = NULL;
  const zelStatus status = zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelBest, zelLZ77CheckCrc32, &record);
  if (status == zelOk) zelsLZ77Free_8u(record);
  return status;
}

static zelStatus Inflate(void) {
  zelLZ77State* record = NULL;
  const zelStatus status = zelsDecodeLZ77InitAlloc_8u(0, &record);
  if (status == zelOk) zelsLZ77Free_8u(record);
  return status;
}

static zelStatus Lzss(void) {
  zelLZSSState* record = NULL;
  const zelStatus status = zelsEncodeLZSSInitAlloc_8u(&record);
  if (status == zelOk) zelsLZSSFree_8u(record);
  return status;
}

static zelStatus MoveToFront(void) {
  zelMTFState* record = NULL;
  const zelStatus status = zelsMTFInitAlloc_8u(&record);
  if (status == zelOk) zelsMTFFree_8u(record);
  return status;
}

static zelStatus RunLength(void) {
  zelRLEState_BZ2* record = NULL;
  const zelStatus status = zelsEncodeRLEInitAlloc_BZ2_8u(&record);
  if (status == zelOk) zelsRLEFree_BZ2_8u(record);
  return status;
}

/* These two answer zelErrNullPtr when there is no memory. */
static zelStatus ByteHuffman(void) {
  zelHuffState* record = NULL;
  int32_t lengths[256] = {0};
  lengths[0] = lengths[1] = 1;
  const zelStatus status = zelsDecodeHuffInitAlloc_8u(lengths, &record);
  if (record != NULL) zelsHuffFree_8u(record);
  return status;
}

static zelStatus Bzip2Huffman(void) {
  zelBZ2HuffDecodeState* record = NULL;
  const zelStatus status = zelsDecodeHuffInitAlloc_BZ2_8u16u(900000, 258, &record);
  if (record != NULL) zelsDecodeHuffFree_BZ2_8u16u(record);
  return status;
}

static zelStatus Intervals(void) {
  zelGITEncodeState* record = NULL;
  const zelStatus status = zelsEncodeGITInitAlloc_8u(4096, 8192, &record);
  if (status == zelOk) zelsGITFree_8u(record);
  return status;
}

static zelStatus VariableLength(void) {
  static const zelVLCCode kCodes[] = {{-1, 0, 1}, {1, 1, 1}};
  zelVLCEncodeState* record = NULL;
  const zelStatus status = zelsVLCEncodeInitAlloc_32s(kCodes, 2, &record);
  if (status == zelOk) zelsVLCEncodeFree_32s(record);
  return status;
}

/* The parallel coders own no memory, but ask for the number of threads. */
enum { kBlock = 1 << 20 };
static uint8_t block[kBlock], packed[kBlock + kBlock / 16 + 1024];

static zelStatus ParallelLzo(void) {
  int32_t size = 0;
  uint32_t len = 0, chunks;
  zelLZOState* record;
  zelStatus status = zelsEncodeLZOGetSize(zelLZOMethodParallel, kBlock, &size);
  if (status != zelOk) return status;
  record = malloc((size_t)size); /* memory of the program's: no zelMalloc */
  if (record == NULL) return zelErrNoMem;
  status = zelsEncodeLZOInit_8u(zelLZOMethodParallel, kBlock, record);
  if (status == zelOk) status = zelsEncodeLZO_8u(block, kBlock, packed, &len, record);
  free(record);
  chunks = packed[0] > 0x80 ? packed[0] - 0x80u : 1;
  if (status == zelOk)
    printf("lzo has compressed %d bytes to %u in %u pieces\n", kBlock, (unsigned)len, (unsigned)chunks);
  return status;
}

static zelStatus Reduction(void) {
  uint8_t in_use[256] = {0};
  int32_t i, values = 0;
  for (i = 0; i < kBlock; ++i) in_use[block[i]] = 1;
  return zelsReduceDictionary_8u_I(in_use, block, kBlock, &values);
}

int main(int argc, char** argv) {
  static const struct {
    const char* name;
    MakeAndRelease run;
  } kFamilies[] = {
      {"deflate", Deflate},
      {"inflate", Inflate},
      {"lzss", Lzss},
      {"move-to-front", MoveToFront},
      {"run-length", RunLength},
      {"byte-huffman", ByteHuffman},
      {"bzip2-huffman", Bzip2Huffman},
      {"intervals", Intervals},
      {"variable-length", VariableLength},
      {"lzo", ParallelLzo},
      {"reduction", Reduction},
  };
  const size_t arena_size = argc == 3 ? strtoul(argv[1], NULL, 10) : 0;
  const long threads = argc == 3 ? strtol(argv[2], NULL, 10) : 0;
  void* memory;
  OwnCoreCounts before, after;
  size_t i;
  int failed = 0;
  if (threads < 1 || threads > 32) {
    fprintf(stderr,
            "Usage: zelarena ARENA_BYTES THREADS\n"
            "Makes records of all families from an arena, with 1 to 32 threads.\n");
    return 2;
  }
  memory = malloc(arena_size);
  if (memory == NULL && arena_size > 0) return 1;
  OwnCoreSetUp(memory, arena_size, (int32_t)threads);
  for (i = 0; i < kBlock; ++i) block[i] = (uint8_t)(i / 7 % 50 * (i % 3));

  printf("%-16s %8s %8s %8s %8s\n", "family", "status", "records", "bytes", "threads?");
  for (i = 0; i < sizeof(kFamilies) / sizeof(kFamilies[0]); ++i) {
    before = OwnCoreGetCounts();
    const zelStatus status = kFamilies[i].run();
    after = OwnCoreGetCounts();
    failed |= status != zelOk;
    printf("%-16s %8d %8lu %8lu %8lu\n", kFamilies[i].name, (int)status,
           (unsigned long)(after.allocations - before.allocations), (unsigned long)(after.bytes - before.bytes),
           (unsigned long)(after.thread_counts - before.thread_counts));
  }
  after = OwnCoreGetCounts();
  printf("%lu records live, %lu refused\n", (unsigned long)after.live, (unsigned long)after.refusals);
  free(memory);
  return failed;
}
