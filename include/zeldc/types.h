/* Status codes, the version record, and the release functions that all families share. */
#ifndef ZELDC_TYPES_H
#define ZELDC_TYPES_H

#include <stdint.h>

#if defined(_WIN32)
#if defined(ZELDC_BUILD)
#define ZELDC_API __declspec(dllexport)
#elif defined(ZELDC_STATIC) /* for the static library; the DLL's functions are found, too */
#define ZELDC_API
#else
#define ZELDC_API __declspec(dllimport)
#endif
#else
#define ZELDC_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The result of every function: 0 success, negative an error, positive a warning. */
typedef int32_t zelStatus;

enum {
  /* Success. */
  zelOk = 0,
  /* A state or a mode used out of turn, or input inconsistent with the state. */
  zelErr = -2,
  /* An argument outside its allowed set or range: a mode, a level, a table parameter. */
  zelErrBadArg = -5,
  /* A length or size out of range; in the stateful Deflate decoder also malformed block data. */
  zelErrSize = -6,
  /* A required pointer is null. */
  zelErrNullPtr = -8,
  /* An InitAlloc function could not obtain memory. */
  zelErrNoMem = -9,
  /* VLC: a value or code that the table does not hold, a bit offset outside 0..7, a size or length below 1, or a
     record that was never initialised. */
  zelErrVlcInput = -127,
  /* VLC decoder: the caller's code table is malformed. */
  zelErrVlcTable = -129,
  /* Huffman table build: a negative frequency, a sum of more than 31 bits, or no frequency at all. */
  zelErrHuffFreq = -197,
  /* A Huffman code-length table is invalid, or a byte without a code is to be encoded. */
  zelErrHuffLenTable = -198,
  /* Huffman table build: a code would become longer than 32 bits. */
  zelErrHuffCodeLen = -199,
  /* Compressed data is malformed. */
  zelErrBadData = -200,
  /* LZO decoder: the compressed stream is broken. */
  zelErrLzoBroken = -214,
  /* The source ran out before the operation could finish: call again with more. */
  zelWarnSrcShort = 32,
  /* The destination is full: call again with more room. */
  zelWarnDstFull = 33,
  /* The end of the compressed stream was reached. */
  zelWarnStreamEnd = 34
};

/* Which library this is. */
typedef struct zelLibraryVersion {
  int32_t major;
  int32_t minor;
  int32_t majorBuild;
  int32_t build;
  char targetCpu[4];     /* the processor target of the build, padded with zeros */
  const char* name;      /* file name, NUL-terminated */
  const char* version;   /* version as text, NUL-terminated */
  const char* buildDate; /* date as text, NUL-terminated */
} zelLibraryVersion;

/* The library's constant version record: never null, the same address at every call. */
ZELDC_API const zelLibraryVersion* zeldcGetLibVersion(void);

/*
 * Release of a record obtained from an InitAlloc function: one function under the name of each family.
 *
 * pState: the record, or null, which does nothing. It is not looked at, so any family's name releases any record.
 * Returns zelOk.
 */
ZELDC_API zelStatus zelsDecodeHuffFree_BZ2_8u16u(void* pState);
ZELDC_API zelStatus zelsEncodeHuffFree_BZ2_16u8u(void* pState);
ZELDC_API zelStatus zelsGITFree_8u(void* pState);
ZELDC_API zelStatus zelsHuffFree_8u(void* pState);
ZELDC_API zelStatus zelsLZ77Free_8u(void* pState);
ZELDC_API zelStatus zelsLZSSFree_8u(void* pState);
ZELDC_API zelStatus zelsMTFFree_8u(void* pState);
ZELDC_API zelStatus zelsRLEFree_BZ2_8u(void* pState);

#ifdef __cplusplus
}
#endif

#endif
