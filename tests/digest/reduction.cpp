// Dictionary reduction, by the table of the values that occur and by others.

#include "families.h"
#include "zeldc/dictionary.h"

namespace zeldc_digest {

namespace {

void Reduce(Run& run, const Data& data, const std::vector<uint8_t>& in_use) {
  const Memory<uint8_t> bytes(run.conditions, data);
  const Memory<uint8_t> table(run.conditions, in_use);
  int32_t values = -1;
  run.Status(zelsReduceDictionary_8u_I(table.data(), bytes.data(), static_cast<int32_t>(bytes.size()), &values));
  run.digest.Int(values);
  run.digest.Bytes(bytes.data(), bytes.size());
}

}  // namespace

void DigestReduction(Run& run) {
  uint32_t number = 0;
  for (const Data* data : AllInputs()) {
    std::vector<uint8_t> occurring(256), some(256), odd(256);
    for (const uint8_t byte : *data) occurring[byte] = 1;
    Numbers numbers(++number);
    for (uint8_t& entry : some) entry = static_cast<uint8_t>(numbers.Below(2));
    for (uint8_t& entry : odd) entry = static_cast<uint8_t>(numbers.Below(4));
    for (const auto& in_use : {occurring, some, odd}) Reduce(run, *data, in_use);
  }
}

}  // namespace zeldc_digest
