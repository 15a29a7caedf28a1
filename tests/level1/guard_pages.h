// Memory between two unmapped pages: a load or a store outside ends the test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace level1_test {

class GuardPages {
 public:
  static constexpr std::size_t page = 4096;
  // Windows reserves in these units.
  static constexpr std::size_t granule = 65536;

  explicit GuardPages(std::size_t bytes)
      : size_((bytes + page - 1) / page * page), total_(size_ + 2 * granule) {
#if defined(_WIN32)
    base_ = static_cast<char*>(VirtualAlloc(nullptr, total_, MEM_RESERVE, PAGE_NOACCESS));
    if (base_ == nullptr ||
        VirtualAlloc(base_ + granule, size_, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
      throw std::runtime_error("no memory for guard pages");
    }
#else
    void* base = mmap(nullptr, total_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) throw std::runtime_error("no memory for guard pages");
    base_ = static_cast<char*>(base);
    if (mprotect(base_ + granule, size_, PROT_READ | PROT_WRITE) != 0) {
      throw std::runtime_error("no memory for guard pages");
    }
#endif
  }
  ~GuardPages() {
#if defined(_WIN32)
    VirtualFree(base_, 0, MEM_RELEASE);
#else
    munmap(base_, total_);
#endif
  }
  GuardPages(const GuardPages&) = delete;
  GuardPages& operator=(const GuardPages&) = delete;

  // `bytes` bytes that start `slack` bytes behind the first unmapped page.
  void* at_start(std::size_t slack) { return base_ + granule + slack; }
  // `bytes` bytes that end `slack` bytes before the second unmapped page.
  void* at_end(std::size_t bytes, std::size_t slack) {
    return base_ + granule + size_ - bytes - slack;
  }

 private:
  std::size_t size_;
  std::size_t total_;
  char* base_;
};

// The four places of two arrays, each at the start or at the end of its own pages.
struct GuardedPair {
  GuardPages& x_pages;
  GuardPages& y_pages;

  template <class Check>
  void for_each_place(std::size_t x_bytes, std::size_t y_bytes, const Check& check) {
    for (const std::size_t x_slack : {0, 4, 1}) {
      for (const std::size_t y_slack : {0, 4, 3}) {
        check(x_pages.at_start(x_slack), y_pages.at_start(y_slack));
        check(x_pages.at_start(x_slack), y_pages.at_end(y_bytes, y_slack));
        check(x_pages.at_end(x_bytes, x_slack), y_pages.at_start(y_slack));
        check(x_pages.at_end(x_bytes, x_slack), y_pages.at_end(y_bytes, y_slack));
      }
    }
  }
};

}  // namespace level1_test
