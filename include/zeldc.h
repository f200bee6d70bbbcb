/*
 * zeldc: data-compression primitives with a flat C interface.
 *
 * One include for an application; it pulls in the family headers.
 *
 * Conventions of every function:
 *  - The result is a zelStatus: 0 success, negative an error, positive a warning after which the call may be
 *    repeated with more input or more room.
 *  - Arguments are checked before anything is read or written: as a rule pointers, then lengths, then modes, then
 *    misuse of a state. A call that answers an error because of its arguments has changed nothing.
 *  - In/out arguments (ppSrc and pSrcLen, ppDst and pDstLen, ppPairs and pPairsLen) say on return what is left:
 *    the pointer stands behind what was used, the count is what remains.
 *  - Coders keep their state in a record. ...GetSize... tells its size, ...Init... prepares memory of yours,
 *    ...InitAlloc... allocates and prepares, the family's ...Free... releases what InitAlloc allocated. A record
 *    may stand at any address that is a multiple of 4.
 *  - Different records may be used from different threads at once; one record belongs to one thread at a time.
 *  - Nothing is read or written outside the buffers and the record, whatever the data holds.
 *  - Results depend on the input and the arguments alone: never on addresses, old memory or the processor.
 */
#ifndef ZELDC_H
#define ZELDC_H

#include "zeldc/bwt.h"
#include "zeldc/bzip2.h"
#include "zeldc/bzip2_huffman.h"
#include "zeldc/checksum.h"
#include "zeldc/deflate.h"
#include "zeldc/deflate_helpers.h"
#include "zeldc/dictionary.h"
#include "zeldc/git.h"
#include "zeldc/huffman.h"
#include "zeldc/inflate.h"
#include "zeldc/inflate_block.h"
#include "zeldc/lzo.h"
#include "zeldc/lzss.h"
#include "zeldc/types.h"
#include "zeldc/vlc.h"

#endif
