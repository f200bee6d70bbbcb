/*
 * A Huffman coder for bytes: a code from their frequencies, bits from bytes, bytes from bits.
 *
 * Codes have 1 to 32 bits and are canonical: the 256 code lengths alone tell them. The longest codes are the smallest
 * numbers: at the longest length they begin with 0, each length goes through its byte values from the highest down and
 * counts up, and the next shorter length begins with half of where it stopped, rounded down. So the highest byte of the
 * longest length has zeros only. Bits are written most significant first.
 *
 * Encoding: EncodeHuffInit with the frequencies, EncodeHuff as often as there is data, EncodeHuffFinal for the last
 * bits; the decoder needs the code lengths, which HuffGetLenCodeTable gives and HuffLenCodeTablePack makes small.
 * Decoding: HuffLenCodeTableUnpack, DecodeHuffInit, DecodeHuff. The stream holds no count of its bytes: the decoder is
 * told how many there are by the room that it gets, and up to seven bits of padding may decode to further ones.
 *
 * The record holds no pointers: it may be copied and moved between calls. Only the InitAlloc functions allocate.
 */
#ifndef ZELDC_HUFFMAN_H
#define ZELDC_HUFFMAN_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The record of an encoder or a decoder: 2596 bytes, see zelsHuffGetSize_8u. */
typedef struct zelHuffState zelHuffState;

/*
 * The size of a record.
 *
 * pSize  [out]  2596 bytes
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 */
ZELDC_API zelStatus zelsHuffGetSize_8u(int32_t* pSize);

/*
 * Makes an encoder with the best code for bytes of these frequencies, with no bits pending.
 *
 * A single byte value in use has the code 0 of one bit. Which of several best codes is taken depends on the frequencies
 * alone. The record is none for zelsDecodeHuff_8u and zelsDecodeHuffOne_8u.
 *
 * pFreqTable  [in]   256 numbers, how often each byte value occurs: 0 or more, adding up to at most 2^31 - 1
 * pState      [out]  2596 bytes at any multiple of 4; written only with zelOk
 *
 * zelOk               done
 * zelErrNullPtr       pFreqTable or pState is null
 * zelErrHuffFreq      a frequency is negative, they add up to more than 2^31 - 1, or all are 0
 * zelErrHuffCodeLen   a code would become longer than 32 bits, which takes a sum of at least 5702887; scale the
 *                     frequencies down
 */
ZELDC_API zelStatus zelsEncodeHuffInit_8u(const int32_t* pFreqTable, zelHuffState* pState);

/*
 * Allocates a record and makes it an encoder: see zelsEncodeHuffInit_8u. Release it with zelsHuffFree_8u.
 *
 * pFreqTable  [in]   256 frequencies
 * ppState     [out]  the record, null without memory. With an error that Init finds the record is allocated all the
 *                    same and the caller's to release.
 *
 * zelOk              done
 * zelErrNullPtr      ppState is null, with which nothing has changed; or there is no memory, or pFreqTable is null
 * zelErrHuffFreq     as for Init
 * zelErrHuffCodeLen  as for Init
 */
ZELDC_API zelStatus zelsEncodeHuffInitAlloc_8u(const int32_t* pFreqTable, zelHuffState** ppState);

/*
 * Writes the code of one byte at any bit of the destination. The bits that are pending in the record have no part in
 * it.
 *
 * The caller advances by the code's length, which is that of the table of zelsHuffGetLenCodeTable_8u.
 *
 * src                    the byte
 * pDst           [out]   (length + dstOffsetBits + 7) / 8 bytes: the first one is ORed with the code, the others are
 *                        overwritten, with zeros behind the code
 * dstOffsetBits          where in *pDst the code begins: 0 (the most significant bit) to 7
 * pState         [in]    an encoder or a decoder
 *
 * zelOk               done
 * zelErrNullPtr       pDst or pState is null
 * zelErrSize          dstOffsetBits is not 0..7
 * zelErrHuffLenTable  the byte has no code
 */
ZELDC_API zelStatus zelsEncodeHuffOne_8u(uint8_t src, uint8_t* pDst, int32_t dstOffsetBits, const zelHuffState* pState);

/*
 * Writes the codes of bytes behind the bits that are pending: every completed group of 32 bits, of which the rest are
 * pending on return. Bytes without a code add nothing.
 *
 * pSrc     [in]      srcLen bytes
 * srcLen             bytes, at least 1
 * pDst     [out]     room for what the pending bits and the codes fill: (pending + sum of the lengths) / 32 * 4 bytes.
 *                    There is no check. The size that zelsHuffGetDstBuffSize_8u tells for srcLen, and 3 bytes for
 *                    pending bits, is always enough.
 * pDstLen  [out]     bytes written, a multiple of 4
 * pState   [in,out]  an encoder, whose pending bits change. (With a decoder the bits that it has read ahead count as
 *                    pending, but for zeros that it has counted.)
 *
 * zelOk               done
 * zelErrNullPtr       pSrc, pDst, pDstLen or pState is null; nothing changed
 * zelErrSize          srcLen is below 1, or more than 2^31 - 1 bytes would be written; nothing changed
 * zelErrHuffLenTable  the record is damaged: it holds a length above 32; nothing changed
 */
ZELDC_API zelStatus zelsEncodeHuff_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                                      zelHuffState* pState);

/*
 * Writes the pending bits, up to 31, the last byte filled up with zeros. They stay pending: repeated, the call writes
 * the same, and zelsEncodeHuff_8u goes on behind them.
 *
 * pDst     [out]  room for (pending bits + 7) / 8 bytes, 4 at most; may be what EncodeHuff wrote to, behind it
 * pDstLen  [out]  bytes written, 0 to 4
 * pState   [in]   an encoder
 *
 * zelOk          done
 * zelErrNullPtr  pDst, pDstLen or pState is null
 */
ZELDC_API zelStatus zelsEncodeHuffFinal_8u(uint8_t* pDst, int32_t* pDstLen, const zelHuffState* pState);

/*
 * The lengths of a record's codes.
 *
 * pState         [in]   an encoder or a decoder
 * pCodeLenTable  [out]  256 lengths in bits, 0 for byte values without a code
 *
 * zelOk          done
 * zelErrNullPtr  pState or pCodeLenTable is null
 */
ZELDC_API zelStatus zelsHuffGetLenCodeTable_8u(const zelHuffState* pState, int32_t* pCodeLenTable);

/*
 * Sizes of buffers that suffice for coding with these code lengths, with max and min the longest and the shortest of
 * them (1 and 32 where there is none).
 *
 * pCodeLenTable    [in]   256 lengths in bits, 0 for byte values without a code
 * srcLen                  bytes to encode, or coded bytes to decode; at least 1
 * pEncDstBuffSize  [out]  (srcLen * max + max + 7) / 8 bytes: room for encoding srcLen bytes, 7 bits pending before
 *                         included. May be null.
 * pDecDstBuffSize  [out]  srcLen * 64 / min bytes: room for what srcLen coded bytes can decode to. May be null.
 *
 * zelOk               done
 * zelErrNullPtr       pCodeLenTable is null
 * zelErrSize          srcLen is below 1, or a size that is asked for is above 2^31 - 1; nothing has been written
 * zelErrHuffLenTable  a length is not 0..32; nothing has been written
 */
ZELDC_API zelStatus zelsHuffGetDstBuffSize_8u(const int32_t* pCodeLenTable, int32_t srcLen, int32_t* pEncDstBuffSize,
                                              int32_t* pDecDstBuffSize);

/*
 * Packs code lengths for the decoder's side.
 *
 * The packed table is a stream of nibbles, the upper half of each byte first. Numbers from 0 to 38 are written as one
 * nibble 0..12 above the current bank, which begins with 0; nibbles 13, 14 and 15 make the bank 0, 13 or 26. The
 * lengths are written as numbers in the order of the byte values. After three equal lengths in a row, where the first
 * one of the table has an unwritten 0 before it, a number says how many more of them follow, up to 32, and the count of
 * equal ones starts anew. The last byte is filled up with zeros.
 *
 * pCodeLenTable  [in]      256 lengths, each 0..32
 * pDst           [out]     *pDstLen bytes. 384 always suffice.
 * pDstLen        [in,out]  bytes: room, at least 1; on return those written
 *
 * zelOk               done
 * zelErrNullPtr       pCodeLenTable, pDst or pDstLen is null
 * zelErrSize          *pDstLen is below 1, with which nothing has changed; or the room did not suffice
 * zelErrHuffLenTable  a length is not 0..32; the output, as far as there was room, is of no use
 */
ZELDC_API zelStatus zelsHuffLenCodeTablePack_8u(const int32_t* pCodeLenTable, uint8_t* pDst, int32_t* pDstLen);

/*
 * Unpacks code lengths: see zelsHuffLenCodeTablePack_8u.
 *
 * pSrc           [in]      *pSrcLen bytes
 * pSrcLen        [in,out]  bytes, at least 1; on return those that the table takes
 * pCodeLenTable  [out]     256 lengths. What the table says is not checked: numbers up to 41 are possible, and
 *                          zelsDecodeHuffInit_8u finds those that are no lengths. A run ends with the table.
 *
 * zelOk          done
 * zelErrNullPtr  pSrc, pSrcLen or pCodeLenTable is null
 * zelErrSize     *pSrcLen is below 1, with which nothing has changed; or the table goes on behind the source, and the
 *                lengths were unpacked as if zeros followed
 */
ZELDC_API zelStatus zelsHuffLenCodeTableUnpack_8u(const uint8_t* pSrc, int32_t* pSrcLen, int32_t* pCodeLenTable);

/*
 * Makes a decoder, with nothing read ahead.
 *
 * Lengths that leave room for more codes are accepted, one code alone and none among them. The bits that are no code
 * then stand for some byte of the table.
 *
 * pCodeLenTable  [in]   256 lengths in bits, 0..32, 0 for byte values without a code
 * pState         [out]  2596 bytes at any multiple of 4; written only with zelOk
 *
 * zelOk               done
 * zelErrNullPtr       pCodeLenTable or pState is null
 * zelErrHuffLenTable  a length is not 0..32, or there are more codes than such lengths allow
 */
ZELDC_API zelStatus zelsDecodeHuffInit_8u(const int32_t* pCodeLenTable, zelHuffState* pState);

/*
 * Allocates a record and makes it a decoder: see zelsDecodeHuffInit_8u. Release it with zelsHuffFree_8u.
 *
 * pCodeLenTable  [in]   256 lengths
 * ppState        [out]  the record, null without memory. With an error that Init finds the record is allocated all the
 *                       same and the caller's to release.
 *
 * zelOk               done
 * zelErrNullPtr       pCodeLenTable or ppState is null, with which nothing has changed; or there is no memory
 * zelErrHuffLenTable  as for Init
 */
ZELDC_API zelStatus zelsDecodeHuffInitAlloc_8u(const int32_t* pCodeLenTable, zelHuffState** ppState);

/*
 * Decodes one byte from any bit of the source. What the record has read ahead has no part in it.
 *
 * The caller advances by the length of the byte's code.
 *
 * pSrc           [in]   (srcOffsetBits + longest code's length + 7) / 8 bytes, up to 5, all of which are read
 * srcOffsetBits         where in *pSrc the code begins: 0 (the most significant bit) to 7
 * pDst           [out]  the byte
 * pState         [in]   a decoder
 *
 * zelOk          done
 * zelErrNullPtr  pSrc, pDst or pState is null, or the record is an encoder
 * zelErrSize     srcOffsetBits is not 0..7, or the record has no codes
 */
ZELDC_API zelStatus zelsDecodeHuffOne_8u(const uint8_t* pSrc, int32_t srcOffsetBits, uint8_t* pDst,
                                         const zelHuffState* pState);

/*
 * Decodes until the room is full or the source has no whole code left. What was read of the source and is not decoded
 * stays in the record, for the next call.
 *
 * The call reads all of its source unless the room fills first, and does not tell how much it read then: give it all
 * the room that zelsHuffGetDstBuffSize_8u asks for, or make it the stream's last call. (How much that is: before each
 * byte it reads as long as at most 16 bits are held, where whole bytes of zeros ahead of the first one are not counted
 * as held.) A record without codes decodes nothing. With codes that are not complete, bits that are no code can end the
 * decoding for good.
 *
 * pSrc     [in]      srcLen bytes: those that follow what the calls before read
 * srcLen             bytes, at least 1
 * pDst     [out]     *pDstLen bytes, of which only the written ones change
 * pDstLen  [in,out]  bytes: room, at least 1; on return those written
 * pState   [in,out]  a decoder
 *
 * zelOk          done
 * zelErrNullPtr  pSrc, pDst, pDstLen or pState is null, or the record is an encoder
 * zelErrSize     srcLen or *pDstLen is below 1
 */
ZELDC_API zelStatus zelsDecodeHuff_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                                      zelHuffState* pState);

#ifdef __cplusplus
}
#endif

#endif
