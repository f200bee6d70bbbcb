#include "support/guarded_buffer.h"

#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <system_error>

namespace zeldc_test {

namespace {

size_t PageSize() {
  static const size_t size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

void Protect(uint8_t* start, size_t size, int protection) {
  if (mprotect(start, size, protection) != 0) throw std::system_error(errno, std::generic_category(), "mprotect");
}

}  // namespace

GuardedBuffer::GuardedBuffer(size_t size, Guard guard) : size_(size) {
  const size_t page = PageSize();
  const size_t inner = (size + page - 1) / page * page;
  mapping_size_ = inner + 2 * page;
  void* const mapping = mmap(nullptr, mapping_size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "mmap");
  mapping_ = static_cast<uint8_t*>(mapping);
  if (inner > 0) Protect(mapping_ + page, inner, PROT_READ | PROT_WRITE);
  data_ = guard == Guard::kBehind ? mapping_ + page + inner - size : mapping_ + page;
}

GuardedBuffer::GuardedBuffer(const Bytes& content, Guard guard) : GuardedBuffer(content.size(), guard) {
  if (size_ > 0) memcpy(data_, content.data(), size_);
  MakeReadOnly();
}

GuardedBuffer::~GuardedBuffer() { munmap(mapping_, mapping_size_); }

void GuardedBuffer::MakeReadOnly() {
  if (mapping_size_ > 2 * PageSize()) Protect(mapping_ + PageSize(), mapping_size_ - 2 * PageSize(), PROT_READ);
}

}  // namespace zeldc_test
