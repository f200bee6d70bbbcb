// What the tests demand of every stream, whatever it holds.
#pragma once

#include "gtest/gtest.h"
#include "inflate/decode.h"
#include "inflate/stream_builder.h"

namespace zeldc_test {

// Decodes with every split on the path and requires the same outcome of all. Answers it.
Decoded DecodeOnAllSplits(Path path, const Bytes& stream, const DecodeOptions& options = {});

// The same on both paths, whose outcomes must agree: the same output, and the same status but for a distance that
// reaches too far, which is zelErrSize on the byte path and zelErrBadData on the pair path. Where zlib accepts the
// stream, the outcome is zlib's. Answers the byte path's.
Decoded DecodeOnBothPaths(const Bytes& stream, const DecodeOptions& options = {});

// The stream decodes to `expected` on both paths with every split, and with all of it consumed.
void ExpectDecodes(const Bytes& stream, const Bytes& expected, const DecodeOptions& options = {});

// The same of a built stream, with the pairs and the places of the blocks' ends.
void ExpectDecodes(const StreamBuilder& built, const DecodeOptions& options = {});

// The stream is malformed: both paths answer zelErrSize (the pair path zelErrBadData for a distance that reaches too
// far) with every split, after the output that stands before the malformed place.
void ExpectMalformed(const StreamBuilder& built, const DecodeOptions& options = {});

std::ostream& operator<<(std::ostream& out, const DecodeOptions& options);

}  // namespace zeldc_test
