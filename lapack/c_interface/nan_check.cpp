// What the search for NaN looks at, and whether it is wanted.
#include "elements/number_bits.h"
#include "lapack/c_interface/c_interface.h"
#include "lapack/routines.h"
#include "runtime/dispatch/environment.h"
#include "runtime/text.h"

namespace {

constexpr int kUndecided = -1;
int nancheck = kUndecided;

// Fewer elements than these in a run: each one is looked at.
constexpr int kShortColumn = 16;
constexpr int kShortRow = 5;
constexpr int kNarrowBand = 6;
// So few doubles that a kernel's call takes longer than they do.
constexpr int kFewDoubles = 8;

// What is not there and what does not fit the buffer leave the check on.
[[gnu::noinline, gnu::cold]] int decide() {
  char text[256];
  if (qsl_getenv("LAPACKE_NANCHECK", text, sizeof text) < 1) return 1;
  return qsl::parse_int(text) != 0 ? 1 : 0;
}

int least(int a, int b) { return a < b ? a : b; }

// By its bits, as everything about floating-point values here.
bool is_nan(const double* x) {
  const auto* bits = reinterpret_cast<const qsl::DoubleBits*>(x);
  return ((bits->high << 1) | (bits->low != 0 ? 1u : 0u)) > 0xffe00000u;
}

// `count` runs of `elements` of `parts` doubles. Short ones that lie end to end are one.
int nan_in_runs(bool direct, int count, int elements, const double* a, int ld, int parts) {
  // Before anything is multiplied: a size far below zero might become one above.
  if (elements <= 0 || count <= 0) return 0;
  const auto doubles_of = [parts](int count_of_elements) {
    return static_cast<int>(static_cast<unsigned>(count_of_elements) *
                            static_cast<unsigned>(parts));
  };
  const int length = doubles_of(elements);
  const int step = doubles_of(ld);
  if (!direct || length != step) return qsl_dispatch_nan_in_runs(direct, count, length, a, step);
  const int doubles = count * length;
  if (doubles > kFewDoubles) return qsl_dispatch_nan_in_runs(1, 1, doubles, a, doubles);
  for (int i = 0; i < doubles; i++) {
    if (is_nan(a + i)) return 1;
  }
  return 0;
}

// A matrix whose elements are `parts` doubles.
int general_nancheck(int layout, int m, int n, const double* a, int ld, int parts) {
  if (a == nullptr) return 0;
  if (layout == CblasColMajor) {
    return nan_in_runs(m < kShortColumn, n, least(m, ld), a, ld, parts);
  }
  if (layout == CblasRowMajor) {
    return nan_in_runs(n < kShortRow, m, least(n, ld), a, ld, parts);
  }
  return 0;
}

}  // namespace

extern "C" {

int qsl_lapacke_nancheck_enabled() {
  int enabled = __atomic_load_n(&nancheck, __ATOMIC_RELAXED);
  if (enabled == kUndecided) {
    enabled = decide();
    __atomic_store_n(&nancheck, enabled, __ATOMIC_RELAXED);
  }
  return enabled;
}

int qsl_lapacke_dge_nancheck(int layout, int m, int n, const double* a, int lda) {
  return general_nancheck(layout, m, n, a, lda, 1);
}

int qsl_lapacke_zge_nancheck(int layout, int m, int n, const complex_double* a, int lda) {
  return general_nancheck(layout, m, n, reinterpret_cast<const double*>(a), lda, 2);
}

int qsl_lapacke_zgb_nancheck(int layout, int m, int n, int kl, int ku, const complex_double* ab,
                             int ldab) {
  if (ab == nullptr || m <= 0 || n <= 0) return 0;
  // The storage's own offsets follow the clamped widths.
  const int lower = least(kl, m - 1);
  const int upper = least(ku, n - 1);
  const long long width = static_cast<long long>(lower) + upper;
  // (No more than the storage has; a width below zero has no elements.)
  if (width < 0) return 0;
  if (layout == CblasColMajor) {
    if (width >= ldab) return 0;
    const int last = static_cast<int>(width);
    return qsl_dispatch_nan_in_band(last < kNarrowBand, n, upper, m + upper, last + 1, ab, ldab);
  }
  if (layout == CblasRowMajor) {
    const int order = least(m, n);
    if (order > ldab || width >= 0x7fffffff) return 0;
    return qsl_dispatch_nan_in_band(order < kShortRow, static_cast<int>(width) + 1, upper,
                                    m + upper, n, ab, ldab);
  }
  return 0;
}
}
