#include "support/guarded_buffer.h"

#include <string.h>

#include <system_error>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace zeldc_test {

namespace {

#if defined(_WIN32)

[[noreturn]] void Fail(const char* what) {
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

size_t PageSize() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwPageSize;
}

// Pages that nobody may touch.
void* Reserve(size_t size) {
  void* const pages = VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS);
  if (!pages) Fail("VirtualAlloc");
  return pages;
}

void MakeWritable(uint8_t* start, size_t size) {
  if (!VirtualAlloc(start, size, MEM_COMMIT, PAGE_READWRITE)) Fail("VirtualAlloc");
}

void Protect(uint8_t* start, size_t size) {
  DWORD before;
  if (!VirtualProtect(start, size, PAGE_READONLY, &before)) Fail("VirtualProtect");
}

void Release(uint8_t* start, size_t) { VirtualFree(start, 0, MEM_RELEASE); }

#else

[[noreturn]] void Fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

size_t PageSize() {
  static const size_t size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

// Pages that nobody may touch.
void* Reserve(size_t size) {
  void* const pages = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages == MAP_FAILED) Fail("mmap");
  return pages;
}

void MakeWritable(uint8_t* start, size_t size) {
  if (mprotect(start, size, PROT_READ | PROT_WRITE) != 0) Fail("mprotect");
}

void Protect(uint8_t* start, size_t size) {
  if (mprotect(start, size, PROT_READ) != 0) Fail("mprotect");
}

void Release(uint8_t* start, size_t size) { munmap(start, size); }

#endif

}  // namespace

GuardedBuffer::GuardedBuffer(size_t size, Guard guard) : size_(size) {
  const size_t page = PageSize();
  const size_t inner = (size + page - 1) / page * page;
  mapping_size_ = inner + 2 * page;
  mapping_ = static_cast<uint8_t*>(Reserve(mapping_size_));
  if (inner > 0) MakeWritable(mapping_ + page, inner);
  data_ = guard == Guard::kBehind ? mapping_ + page + inner - size : mapping_ + page;
}

GuardedBuffer::GuardedBuffer(const Bytes& content, Guard guard) : GuardedBuffer(content.size(), guard) {
  if (size_ > 0) memcpy(data_, content.data(), size_);
  MakeReadOnly();
}

GuardedBuffer::~GuardedBuffer() { Release(mapping_, mapping_size_); }

void GuardedBuffer::MakeReadOnly() {
  if (mapping_size_ > 2 * PageSize()) Protect(mapping_ + PageSize(), mapping_size_ - 2 * PageSize());
}

}  // namespace zeldc_test
