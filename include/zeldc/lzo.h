/*
 * LZO: one-call compression to LZO1X streams, and back, on one thread or on several.
 *
 * A plain stream is what LZO1X decoders read; it holds neither its own length nor a checksum. The decoders here read
 * all such streams but for one kind of token: a match of two bytes right after a run of literals (a byte below 16
 * there). LZO1X-1 encoders do not write it.
 *
 * With the parallel method and more than one thread an input of at least 256 bytes a thread is cut into one chunk a
 * thread. The result is a container that only zelsDecodeLZO_8u and zelsDecodeLZOSafe_8u read, numbers least significant
 * byte first:
 *
 *   1 byte              0x80 + n, n the number of chunks
 *   4 bytes             length of the uncompressed data, N
 *   4 bytes, n - 1 times  length of each chunk's stream but the last one's
 *   n streams           of N / n bytes each, the last one of the rest
 *
 * A plain stream may begin with a byte of 0x80 and more, too: one run of 111 to 238 literals and nothing else. The
 * decoders know it by its length, which is the byte's value - 13; a container of that length is never written.
 *
 * The number of threads is that of zelcore's ownGetNumThreads, asked at every call. Within a parallel region of the
 * caller's one thread does all the work, with the same result.
 */
#ifndef ZELDC_LZO_H
#define ZELDC_LZO_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The encoder's record: its hash tables, and with the parallel method a buffer for each thread. Opaque; it holds no
   pointers and keeps nothing from one call to the next that would show in a result. At any multiple of 4. */
typedef struct zelLZOState zelLZOState;

/* Who compresses. */
typedef int32_t zelLZOMethod;
enum {
  zelLZOMethodSingle = 0,  /* the calling thread: always a plain stream */
  zelLZOMethodParallel = 1 /* a chunk a thread, if there is more than one */
};

/*
 * The size of a record.
 *
 * method             one of zelLZOMethod
 * maxSrcLen          bytes of the largest input; of no effect with one thread
 * pSize       [out]  bytes: 65560 for one thread; for n threads n * (maxSrcLen + maxSrcLen / 16 + 65615) + 12
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 * zelErrBadArg   the method is neither of the two; the size is 0
 * zelErrSize     the record would be larger than 2^31 - 1 bytes; the size is 0
 */
ZELDC_API zelStatus zelsEncodeLZOGetSize(zelLZOMethod method, uint32_t maxSrcLen, int32_t* pSize);

/*
 * Prepares a record.
 *
 * method             one of zelLZOMethod
 * maxSrcLen          bytes of the largest input, as for zelsEncodeLZOGetSize; larger ones become plain streams
 * pState      [out]  a record of the size that zelsEncodeLZOGetSize tells for these arguments. The number of threads
 *                    must be the same at both calls.
 *
 * zelOk          done
 * zelErrNullPtr  pState is null; nothing changed
 * zelErrBadArg   the method is neither of the two; nothing changed
 * zelErrSize     the record would be larger than 2^31 - 1 bytes; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZOInit_8u(zelLZOMethod method, uint32_t maxSrcLen, zelLZOState* pState);

/*
 * Compresses the whole of a buffer.
 *
 * The result depends on the input, the method and the number of threads alone. With the parallel method that number is
 * the smallest of Init's, this call's and 32. A container is written if there is more than one thread, the input has
 * at least 256 bytes a thread, and no chunk is longer than Init's maxSrcLen; otherwise a plain stream.
 *
 * pSrc     [in]      srcLen bytes
 * srcLen             bytes, at most 2^31 - 1; 0 writes nothing, not even an end marker
 * pDst     [out]     room for the worst case: srcLen + srcLen / 16 + 67 bytes, and with the parallel method 4 n + 1
 *                    more for n threads. What lies behind the result may be overwritten within that room. It must not
 *                    overlap the source.
 * pDstLen  [out]     bytes of the result; not read
 * pState   [in,out]  a record that zelsEncodeLZOInit_8u has prepared; fit for the next call afterwards
 *
 * zelOk          done
 * zelErrNullPtr  pState, pSrc, pDst or pDstLen is null (looked at in this order); nothing changed
 * zelErrBadArg   the record holds no method: it was never prepared; nothing changed
 * zelErrSize     srcLen is above 2^31 - 1; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZO_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen,
                                     zelLZOState* pState);

/*
 * Decompresses a plain stream, several of them one after the other, or a container, and checks everything: whatever
 * the input holds, nothing is read or written outside the buffers.
 *
 * pSrc     [in]      srcLen bytes, to the end of an end marker
 * srcLen             bytes; 0 decodes to nothing
 * pDst     [out]     room for *pDstLen bytes; must not overlap the source. What lies behind the result may be
 *                    overwritten within the room (of a container: within its N bytes).
 * pDstLen  [in,out]  room in bytes; on return the bytes written. After an error it is unchanged, and the room may hold
 *                    the first part of the output.
 *
 * zelOk            done
 * zelErrNullPtr    pSrc, pDst or pDstLen is null (looked at in this order); nothing changed
 * zelErrLzoBroken  the input ends elsewhere than behind an end marker; a match reaches back before the start of the
 *                  output (of a container: of its chunk); the output does not fit; a match of two bytes follows a run
 *                  of literals; a container has no chunk or more than 32, is shorter than its chunks, or does not fit
 *
 * A container whose chunks are shorter than it says is no error: what is missing in the result is zeros, and *pDstLen
 * counts what the chunks hold.
 */
ZELDC_API zelStatus zelsDecodeLZOSafe_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen);

/*
 * The same for input that is known to be good. The one thing that it does not check is whether a container fits the
 * room: *pDstLen is not read then, and pDst must have room for the N bytes that the container tells. What else it
 * answers for broken input may change; it leaves the buffers at no time.
 */
ZELDC_API zelStatus zelsDecodeLZO_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen);

#ifdef __cplusplus
}
#endif

#endif
