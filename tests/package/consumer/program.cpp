// A C++ program of somebody else's: a block through the parallel coder and back.

#include <zeldc.h>

#include <cstdio>
#include <vector>

int main() {
  std::vector<uint8_t> text(100000), back(text.size());
  for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<uint8_t>("tick, tock "[i * (i / 1000 + 1) % 11]);
  const uint32_t size = static_cast<uint32_t>(text.size());

  int32_t record_size = 0;
  if (zelsEncodeLZOGetSize(zelLZOMethodParallel, size, &record_size) != zelOk) return 1;
  std::vector<uint32_t> memory(static_cast<size_t>(record_size) / 4 + 1);
  zelLZOState* const record = reinterpret_cast<zelLZOState*>(memory.data());
  if (zelsEncodeLZOInit_8u(zelLZOMethodParallel, size, record) != zelOk) return 2;
  std::vector<uint8_t> stream(size + size / 16 + 1000);
  uint32_t len = 0;
  if (zelsEncodeLZO_8u(text.data(), size, stream.data(), &len, record) != zelOk || len >= size) return 3;
  uint32_t room = size;
  if (zelsDecodeLZOSafe_8u(stream.data(), len, back.data(), &room) != zelOk || back != text) return 4;
  const zelLibraryVersion& version = *zeldcGetLibVersion();
  std::printf("zeldc %d.%d, %d bit, from C++\n", static_cast<int>(version.major), static_cast<int>(version.minor),
              static_cast<int>(sizeof(void*)) * 8);
  return 0;
}
