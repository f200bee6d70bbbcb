/*
 * Checksums over a running value, so that a stream can be checked in pieces of any size.
 *
 * The four functions differ in how they treat the running value, an empty length and a null source; each says how.
 */
#ifndef ZELDC_CHECKSUM_H
#define ZELDC_CHECKSUM_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Adler-32 (RFC 1950 section 8.2).
 *
 * pSrc       [in]     bytes; null starts a fresh stream: *pChecksum becomes 1 and nothing else happens
 * len                 bytes in pSrc; 0 and below process nothing, but the value is still reduced
 * pChecksum  [in,out] sum A in the low 16 bits, sum B in the high 16; a fresh stream starts from 1. The result has
 *                     each half reduced modulo 65521.
 *
 * zelOk          done
 * zelErrNullPtr  pChecksum is null
 */
ZELDC_API zelStatus zelsAdler32_8u(const uint8_t* pSrc, int32_t len, uint32_t* pChecksum);

/*
 * CRC-32 of gzip and zip (reflected polynomial 0xEDB88320; RFC 1952 section 8).
 *
 * pSrc       [in]     bytes
 * len                 bytes in pSrc, at least 1
 * pChecksum  [in,out] the finished CRC of the data so far; a fresh stream starts from 0
 *
 * zelOk          done
 * zelErrNullPtr  pSrc or pChecksum is null; nothing changed
 * zelErrSize     len is below 1; nothing changed
 */
ZELDC_API zelStatus zelsCRC32_8u(const uint8_t* pSrc, int32_t len, uint32_t* pChecksum);

/*
 * CRC-32C, Castagnoli (reflected polynomial 0x82F63B78; RFC 3720 section 12.1), on the raw register.
 *
 * pSrc       [in]     bytes
 * len                 bytes in pSrc, at least 1; unsigned: 2^31 and more work
 * pChecksum  [in,out] the raw register, inverted neither on the way in nor out. For the standard check value start
 *                     from 0xFFFFFFFF and invert the last result.
 *
 * zelOk          done
 * zelErrNullPtr  pSrc or pChecksum is null; nothing changed
 * zelErrSize     len is 0; nothing changed
 */
ZELDC_API zelStatus zelsCRC32C_8u(const uint8_t* pSrc, uint32_t len, uint32_t* pChecksum);

/*
 * The CRC of the bzip2 format (polynomial 0x04C11DB7, most significant bit first).
 *
 * pSrc       [in]     bytes
 * len                 bytes in pSrc, at least 1
 * pChecksum  [in,out] the finished CRC of the data so far; a fresh stream starts from 0
 *
 * zelOk          done
 * zelErrNullPtr  pSrc or pChecksum is null; nothing changed
 * zelErrSize     len is below 1; nothing changed
 */
ZELDC_API zelStatus zelsCRC32_BZ2_8u(const uint8_t* pSrc, int32_t len, uint32_t* pChecksum);

#ifdef __cplusplus
}
#endif

#endif
