// Packing and unpacking, bit by bit.
#include <map>

#include "tests/compact/batch.h"

namespace compact_test {
namespace {

// Bits that a floating-point unit would change, and ordinary ones.
std::uint64_t pattern(std::uint32_t k) {
  static constexpr std::uint64_t special[] = {0x7ff0000000000001ull, 0xfff4000000000000ull,
                                              0x7ff8000000000123ull, 0x8000000000000000ull,
                                              0x0000000000000001ull, 0xfff0000000000000ull};
  if (k % 5 == 0) return special[k / 5 % 6];
  return (k + 1) * 0x9e3779b97f4a7c15ull;
}

// Pages that are used again and again: to map them takes longer than all else here.
level1_test::GuardPages& pages_for(std::size_t bytes, int number) {
  using level1_test::GuardPages;
  static std::map<std::pair<std::size_t, int>, std::unique_ptr<GuardPages>> pool;
  const std::size_t whole = (bytes + GuardPages::page - 1) / GuardPages::page * GuardPages::page;
  auto& pages = pool[{whole, number}];
  if (pages == nullptr) pages = std::make_unique<GuardPages>(whole);
  return *pages;
}

// User matrices, each at the end or the start of pages of its own.
class Matrices {
 public:
  // Those of a second set lie elsewhere.
  Matrices(int layout, int rows, int columns, int lda, int nm, std::size_t slack, int set)
      : layout_(layout), rows_(rows), columns_(columns), lda_(lda) {
    const std::size_t bytes = 16 * extent(layout, rows, columns, lda);
    for (int k = 0; k < nm; ++k) {
      level1_test::GuardPages& pages = pages_for(bytes + slack + 16, 2 * k + set);
      void* start = k % 2 == 0 ? pages.at_end(bytes, slack) : pages.at_start(slack);
      pointers_.push_back(static_cast<complex_double*>(start));
      for (std::size_t e = 0; e < bytes; e += 8) std::memcpy(byte(k) + e, &guard, 8);
    }
  }
  complex_double** pointers() { return pointers_.data(); }
  std::uint64_t part(int k, int i, int j, int part) const {
    std::uint64_t word;
    std::memcpy(&word, byte(k) + 16 * place(layout_, i, j, lda_) + 8 * part, 8);
    return word;
  }
  void set_part(int k, int i, int j, int part, std::uint64_t word) {
    std::memcpy(byte(k) + 16 * place(layout_, i, j, lda_) + 8 * part, &word, 8);
  }
  bool gaps_are_intact(int k) const {
    const int run = layout_ == CblasColMajor ? rows_ : columns_;
    const std::size_t elements = extent(layout_, rows_, columns_, lda_);
    for (std::size_t e = 0; e < elements; ++e) {
      if (e % lda_ < static_cast<std::size_t>(run)) continue;
      if (std::memcmp(byte(k) + 16 * e, &guard, 8) != 0) return false;
      if (std::memcmp(byte(k) + 16 * e + 8, &guard, 8) != 0) return false;
    }
    return true;
  }

 private:
  unsigned char* byte(int k) const { return reinterpret_cast<unsigned char*>(pointers_[k]); }

  int layout_, rows_, columns_, lda_;
  std::vector<complex_double*> pointers_;
};

std::uint64_t pattern_of(int k, int i, int j, int part) {
  return pattern(static_cast<std::uint32_t>(((k * 31 + i) * 17 + j) * 2 + part));
}

void check(const Shape& shape, int lda, std::size_t slack) {
  SCOPED_TRACE(shape.text() + ", lda " + std::to_string(lda) + ", slack " + std::to_string(slack));
  Matrices from(shape.layout, shape.rows, shape.columns, lda, shape.nm, slack, 0);
  for (int k = 0; k < shape.nm; ++k) {
    for (int j = 0; j < shape.columns; ++j) {
      for (int i = 0; i < shape.rows; ++i) {
        for (int part = 0; part < 2; ++part)
          from.set_part(k, i, j, part, pattern_of(k, i, j, part));
      }
    }
  }
  for (const Buffer::Edge edge : {Buffer::Edge::start, Buffer::Edge::end}) {
    Buffer buffer(shape, edge, slack);
    qsl_zgepack_compact(shape.layout, shape.rows, shape.columns, from.pointers(), lda,
                        buffer.data(), shape.ld, shape.format, shape.nm);
    ASSERT_TRUE(buffer.gaps_are_intact());
    for (int lane = 0; lane < shape.groups() * shape.group(); ++lane) {
      for (int j = 0; j < shape.columns; ++j) {
        for (int i = 0; i < shape.rows; ++i) {
          const std::size_t at = shape.real_at(lane, i, j);
          const bool exists = lane < shape.nm;
          ASSERT_EQ(buffer.bits(at), exists ? pattern_of(lane, i, j, 0) : 0) << lane;
          ASSERT_EQ(buffer.bits(at + shape.group()), exists ? pattern_of(lane, i, j, 1) : 0)
              << lane;
        }
      }
    }
    const std::vector<unsigned char> before = buffer.copy();
    Matrices to(shape.layout, shape.rows, shape.columns, lda, shape.nm, slack, 1);
    qsl_zgeunpack_compact(shape.layout, shape.rows, shape.columns, to.pointers(), lda,
                          buffer.data(), shape.ld, shape.format, shape.nm);
    ASSERT_EQ(buffer.copy(), before) << "the buffer is read alone";
    for (int k = 0; k < shape.nm; ++k) {
      ASSERT_TRUE(to.gaps_are_intact(k));
      for (int j = 0; j < shape.columns; ++j) {
        for (int i = 0; i < shape.rows; ++i) {
          for (int part = 0; part < 2; ++part) {
            ASSERT_EQ(to.part(k, i, j, part), pattern_of(k, i, j, part)) << k;
          }
        }
      }
    }
  }
}

TEST(CompactCopy, MovesEveryBitAndWritesNothingElse) {
  const int largest = few_shapes() ? 3 : 6;
  for (const int layout : layouts) {
    for (const int format : formats) {
      for (int nm = 0; nm <= 20; nm += few_shapes() ? 5 : 1) {
        for (int rows = 0; rows <= largest; ++rows) {
          for (int columns = 0; columns <= largest; ++columns) {
            const int run = layout == CblasColMajor ? rows : columns;
            const int pad = (rows + columns + nm) % 3;
            const std::size_t slack = static_cast<std::size_t>((rows + nm) % 4) * 4 + columns % 2;
            check({layout, rows, columns, std::max(run, 1) + pad, format, nm},
                  std::max(run, 1) + nm % 2, slack);
          }
        }
      }
    }
  }
}

TEST(CompactCopy, LongRuns) {
  for (const int layout : layouts) {
    for (const int format : formats) {
      for (const int nm : {1, 4, 9}) {
        check({layout, 33, 17, 35, format, nm}, 34, 8);
        check({layout, 16, 16, 16, format, nm}, 16, 0);
      }
    }
  }
}

TEST(CompactCopy, AnyOtherFormatHasGroupsOfOne) {
  for (const int layout : layouts) {
    for (const int format :
         {0, 1, 180, 184, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
      for (const int nm : {0, 1, 3}) check({layout, 3, 4, 5, format, nm}, 4, 0);
    }
  }
}

TEST(CompactCopy, SizesBelowOneDoNothing) {
  double* const nowhere = nullptr;
  for (const int layout : layouts) {
    for (const int format : formats) {
      for (const int bad : {0, -1, std::numeric_limits<int>::min()}) {
        qsl_zgepack_compact(layout, bad, 2, nullptr, 1, nowhere, 1, format, 3);
        qsl_zgepack_compact(layout, 2, bad, nullptr, 2, nowhere, 2, format, 3);
        qsl_zgepack_compact(layout, 2, 2, nullptr, 2, nowhere, 2, format, bad);
        qsl_zgeunpack_compact(layout, bad, 2, nullptr, 1, nowhere, 1, format, 3);
        qsl_zgeunpack_compact(layout, 2, bad, nullptr, 2, nowhere, 2, format, 3);
        qsl_zgeunpack_compact(layout, 2, 2, nullptr, 2, nowhere, 2, format, bad);
      }
    }
  }
}

TEST(CompactSize, IsThatOfWholeGroups) {
  EXPECT_EQ(qsl_zget_size_compact(3, 4, QSL_COMPACT_AVX, 5), 1536);
  for (const int format : formats) {
    for (int nm = 0; nm <= 20; ++nm) {
      for (int rows = 0; rows <= 4; ++rows) {
        const Shape shape = {CblasColMajor, rows, 3, rows, format, nm};
        EXPECT_EQ(qsl_zget_size_compact(rows, 3, format, nm),
                  8 * static_cast<int>(shape.doubles()));
      }
    }
  }
  EXPECT_EQ(qsl_zget_size_compact(1 << 14, 1 << 13, QSL_COMPACT_SSE, 2), 0) << "2^32 wraps";
  EXPECT_EQ(qsl_zget_size_compact(1 << 13, 1 << 13, QSL_COMPACT_SSE, 2),
            std::numeric_limits<int>::min());
}

TEST(CompactFormat, IsTheProcessorsOwn) {
  const char* type = std::getenv("QSL_DEBUG_CPU_TYPE");
  const char* mode = std::getenv("QSL_CBWR");
  if (mode != nullptr && std::string(mode) == "COMPATIBLE") {
    EXPECT_EQ(qsl_get_format_compact(), QSL_COMPACT_SSE);
  } else if (type != nullptr) {
    EXPECT_EQ(qsl_get_format_compact(), native_format());
  } else {
    const int format = qsl_get_format_compact();
    EXPECT_TRUE(format >= QSL_COMPACT_SSE && format <= QSL_COMPACT_AVX512) << format;
  }
}

}  // namespace
}  // namespace compact_test
