// Copies between the storage orders, and the room for them.
#include "elements/number_bits.h"
#include "lapack/c_interface/c_interface.h"
#include "lapack/elements.h"
#include "runtime/memory/memory.h"

namespace qsl::lapack {
namespace {

// An element as words: copying a double as such may pass through the x87 unit, which quiets
// signalling NaNs. It may lie at any address.
struct [[gnu::packed, gnu::may_alias]] Words {
  unsigned word[4];
};

// The storage order of a matrix as the copy takes it.
char ordering_of(int layout) { return layout == CblasColMajor ? 'c' : 'r'; }

long long least_of(long long a, long long b) { return a < b ? a : b; }

// Rows of storage [first, end) of column j that belong to the matrix.
struct BandRange {
  int first, end;
};

BandRange band_range(int m, int kl, int ku, int j, int stored_rows) {
  const long long upper = ku;
  const long long first = upper > j ? upper - j : 0;
  const long long end = least_of(least_of(m + upper - j, kl + upper + 1), stored_rows);
  return {static_cast<int>(first), static_cast<int>(end > first ? end : first)};
}

void copy_element(const complex_double* in, complex_double* out) {
  *reinterpret_cast<Words*>(out) = *reinterpret_cast<const Words*>(in);
}

}  // namespace

// A block of 2 GiB or more is more than any process of 32 bits has in one piece.
void* allocate_matrix(long long rows, long long columns, std::size_t element_size) {
  constexpr long long most = 0x7fffffff;
  if (rows > most || columns > most) return nullptr;
  if (rows * columns > most / static_cast<long long>(element_size)) return nullptr;
  return qsl_mm_allocate(static_cast<std::size_t>(rows * columns) * element_size, 128);
}

}  // namespace qsl::lapack

extern "C" {

void qsl_domatcopy_t(char ordering, char, int rows, int columns, const double* alpha,
                     const double* in, int ldin, double* out, int ldout) {
  const bool by_columns = ordering == 'c';
  qsl_dispatch_domatcopy_t(by_columns ? rows : columns, by_columns ? columns : rows, alpha, in,
                           ldin, out, ldout);
}

void qsl_zomatcopy_t(char ordering, char, int rows, int columns, const complex_double* alpha,
                     const complex_double* in, int ldin, complex_double* out, int ldout) {
  const bool by_columns = ordering == 'c';
  qsl_dispatch_zomatcopy_t(by_columns ? rows : columns, by_columns ? columns : rows, alpha, in,
                           ldin, out, ldout);
}

void qsl_lapacke_dge_trans(int layout, int m, int n, const double* in, int ldin, double* out,
                           int ldout) {
  if (in == nullptr || out == nullptr) return;
  qsl_domatcopy_t(qsl::lapack::ordering_of(layout), 't', m, n, &qsl::lapack::Real::one, in, ldin,
                  out, ldout);
}

void qsl_lapacke_zge_trans(int layout, int m, int n, const complex_double* in, int ldin,
                           complex_double* out, int ldout) {
  if (in == nullptr || out == nullptr) return;
  qsl_zomatcopy_t(qsl::lapack::ordering_of(layout), 't', m, n, &qsl::lapack::Complex::one, in, ldin,
                  out, ldout);
}

void qsl_lapacke_zgb_trans(int layout, int m, int n, int kl, int ku, const complex_double* in,
                           int ldin, complex_double* out, int ldout) {
  using qsl::lapack::at;
  if (in == nullptr || out == nullptr || !qsl::lapack::is_layout(layout)) return;
  const bool from_columns = layout == CblasColMajor;
  const int columns = qsl::lapack::least(from_columns ? ldout : ldin, n);
  const int stored_rows = from_columns ? ldin : ldout;
  for (int j = 0; j < columns; j++) {
    const auto range = qsl::lapack::band_range(m, kl, ku, j, stored_rows);
    for (int i = range.first; i < range.end; i++) {
      if (from_columns) {
        qsl::lapack::copy_element(at(in, ldin, i, j), at(out, ldout, j, i));
      } else {
        qsl::lapack::copy_element(at(in, ldin, j, i), at(out, ldout, i, j));
      }
    }
  }
}
}
