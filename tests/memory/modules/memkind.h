// What the stand-in for memkind was asked, and how it is to answer.
#pragma once

#include <cstddef>

struct MemkindStandIn {
  int fail_large;  // refuse pages of 2 MiB
  int fail_small;  // refuse pages of 4 KiB
  int calls;
  int live;
  std::size_t last_alignment;
  std::size_t last_size;
  int last_kind;
};
