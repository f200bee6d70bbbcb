/*
 * What the Deflate encoder and decoder share: the pair, the record's name, the modes, and access to the record's
 * pairs array and status word.
 */
#ifndef ZELDC_LZ77_H
#define ZELDC_LZ77_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The record of one Deflate stream, encoder or decoder. Opaque; at any address that is a multiple of 4. */
typedef struct zelLZ77State zelLZ77State;

/* One step of an LZ77 parse. */
typedef struct zelLZ77Pair {
  uint16_t length;   /* of a literal the byte, 0..255; of a match its length, 3..258 */
  uint16_t distance; /* 0 for a literal; of a match how many bytes back it starts */
} zelLZ77Pair;

/* Pairs in the array that an encoder's record brings along. */
#define zelLZ77MaxPairs 65280

/* How hard the encoder searches. Any other value acts as zelLZ77LevelNormal. */
typedef int32_t zelLZ77Level;
enum {
  zelLZ77LevelFast = 0,   /* greedy, one candidate a position */
  zelLZ77LevelNormal = 1, /* greedy, at most 16 candidates */
  zelLZ77LevelBest = 2    /* lazy, at most 512 candidates */
};

/* The checksum that the encoder keeps of the bytes it consumes. Any other value acts as zelLZ77CheckNone. */
typedef int32_t zelLZ77ChecksumKind;
enum {
  zelLZ77CheckNone = 0,
  zelLZ77CheckAdler32 = 1, /* for RFC 1950, zlib */
  zelLZ77CheckCrc32 = 2    /* for RFC 1952, gzip */
};

/* What a call does beyond its plain work; each function says what it makes of it. */
typedef int32_t zelLZ77FlushMode;
enum {
  zelLZ77FlushNone = 0, /* a block ends with its end-of-block code only */
  zelLZ77FlushSync = 1, /* a block is followed by an empty stored block, the marker 00 00 FF FF */
  zelLZ77FlushFull = 2, /* as zelLZ77FlushSync; the match search restarts its running position at 0 */
  zelLZ77FlushFinal = 3 /* the last block of the stream */
};

/* The status word of a record. */
typedef int32_t zelLZ77DeflateStatus;
enum {
  zelLZ77StatusInit = 0,     /* fresh: the only status in which the encoder takes a dictionary */
  zelLZ77StatusMatching = 1, /* pairs are being collected */
  zelLZ77StatusCoding = 2,   /* collected pairs are being coded into a block */
  zelLZ77StatusFinal = 3     /* the stream is to be ended by zelsEncodeLZ77Flush_8u */
};

/* The kinds of Deflate blocks, in a numbering of their own that is not BTYPE. */
typedef int32_t zelLZ77HuffMode;
enum {
  zelLZ77HuffFixed = 0,   /* BTYPE 01 */
  zelLZ77HuffDynamic = 1, /* BTYPE 10 */
  zelLZ77HuffStored = 2   /* BTYPE 00 */
};

/*
 * Reads the status word. One function under two names.
 *
 * pStatus [out] the status word
 * pState  [in]  an encoder's or decoder's record
 *
 * zelOk          done
 * zelErrNullPtr  a pointer is null
 */
ZELDC_API zelStatus zelsEncodeLZ77GetStatus_8u(zelLZ77DeflateStatus* pStatus, zelLZ77State* pState);
ZELDC_API zelStatus zelsDecodeLZ77GetStatus_8u(zelLZ77DeflateStatus* pStatus, zelLZ77State* pState);

/*
 * Reads the current pairs array. One function under two names.
 *
 * ppPairs   [out] the array: the record's own, or the one that SetPairs gave
 * pPairsPos [out] index of the next pair to be written or read
 * pPairsLen [out] pairs that are usable: the capacity while collecting, the number collected while coding
 * pState    [in]  an encoder's or decoder's record
 *
 * zelOk          done
 * zelErrNullPtr  a pointer is null; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZ77GetPairs_8u(zelLZ77Pair** ppPairs, int32_t* pPairsPos, int32_t* pPairsLen,
                                              zelLZ77State* pState);
ZELDC_API zelStatus zelsDecodeLZ77GetPairs_8u(zelLZ77Pair** ppPairs, int32_t* pPairsPos, int32_t* pPairsLen,
                                              zelLZ77State* pState);

/*
 * Puts an array of the caller's in place of the current one. One function under two names.
 *
 * pPairs   [in] the array. It stays the caller's and must live until Reset, Init or the next SetPairs. The library
 *               only hands its address back through GetPairs: every call that works on pairs is given its array.
 * pairsPos      stored as given
 * pairsLen      stored as given
 * pState   [in,out] an encoder's or decoder's record
 *
 * zelOk          done
 * zelErrNullPtr  pState or pPairs is null; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZ77SetPairs_8u(zelLZ77Pair* pPairs, int32_t pairsPos, int32_t pairsLen,
                                              zelLZ77State* pState);
ZELDC_API zelStatus zelsDecodeLZ77SetPairs_8u(zelLZ77Pair* pPairs, int32_t pairsPos, int32_t pairsLen,
                                              zelLZ77State* pState);

#ifdef __cplusplus
}
#endif

#endif
