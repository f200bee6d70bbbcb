// Calls of the run-length stages between guard pages, and data for them.
#pragma once

#include <string>
#include <vector>

#include "bzip2/plain_run_length_model.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/guarded_buffer.h"

namespace zeldc_test {

// One call: src and room end at guard pages. The call gets all in/out arguments by reference.
template <typename Call>
RunLengthResult RunLengthCall(const Bytes& src, size_t room, Guard guard, Call call) {
  const GuardedBuffer source(src, guard);
  const GuardedBuffer destination(room, guard);
  uint8_t* next = source.data();
  int32_t src_len = static_cast<int32_t>(src.size());
  int32_t dst_len = static_cast<int32_t>(room);
  RunLengthResult result;
  result.status = call(&next, &src_len, destination.data(), &dst_len);
  EXPECT_EQ(next + src_len, source.end());
  EXPECT_GE(src_len, 0);
  EXPECT_LE(static_cast<size_t>(dst_len), room);
  result.consumed = static_cast<size_t>(next - source.data());
  result.bytes = Bytes(destination.data(), destination.data() + dst_len);
  return result;
}

inline testing::AssertionResult AreAlike(const RunLengthResult& got, const RunLengthResult& expected) {
  if (got.bytes != expected.bytes) return testing::AssertionFailure() << "wrong bytes";
  if (got.consumed != expected.consumed) {
    return testing::AssertionFailure() << got.consumed << " consumed, not " << expected.consumed;
  }
  if (got.status != expected.status) return testing::AssertionFailure() << "status " << got.status;
  return testing::AssertionSuccess();
}

inline Bytes Repeated(uint8_t byte, size_t count) { return Bytes(count, byte); }

inline Bytes Joined(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// Data with runs of every length that matters, and without any.
inline std::vector<NamedData> RunLengthInputs(size_t size) {
  std::vector<NamedData> all;
  for (NamedData& input : AllKinds(size)) {
    if (!input.data.empty()) all.push_back(std::move(input));
  }
  for (size_t longest : {2, 3, 4, 5, 8, 40}) {
    all.push_back({"runs to " + std::to_string(longest), Runs(size, longest, longest)});
  }
  Random random(1);
  Bytes stairs;
  for (size_t run = 1; stairs.size() < size; run = run % 530 + 1) {
    stairs.insert(stairs.end(), run, static_cast<uint8_t>(run * 7));
  }
  stairs.resize(size);
  all.push_back({"stairs", stairs});
  Bytes two = SmallAlphabet(size, 2, 9);
  for (size_t i = 0; i + 400 < size; i += 500) {
    std::fill_n(two.begin() + static_cast<ptrdiff_t>(i), Uniform(random, 250, 300), uint8_t{1});
  }
  all.push_back({"two values with long runs", two});
  return all;
}

inline Bytes Slice(const Bytes& bytes, size_t from, size_t to = SIZE_MAX) {
  return Bytes(bytes.begin() + static_cast<ptrdiff_t>(from),
               bytes.begin() + static_cast<ptrdiff_t>(std::min(to, bytes.size())));
}

}  // namespace zeldc_test
