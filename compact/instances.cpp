// The routines of one level; compiled once for each.
#include "simd/level.h"

#include "compact/kernels/compact_copy.h"
#include "compact/kernels/compact_small_lu.h"
#include "compact/kernels/compact_solve.h"
#include "compact/routines.h"

namespace qsl::QSL_LEVEL {
namespace {

// Runs that follow each other without a gap are one.
template <int size>
QSL_INLINE CompactRuns compact_runs(int run, int runs, int lda, int ldap) {
  if (run == lda && run == ldap) {
    run *= runs;
    runs = 1;
  }
  return {run, runs, 2 * lda, 2 * size * ldap};
}

}  // namespace

void zgepack_compact(int run, int runs, const complex_double* const* matrices, int lda, double* ap,
                     int ldap, int format, int nm) {
  if (run <= 0 || runs <= 0) return;
  const auto* a = reinterpret_cast<const double* const*>(matrices);
  with_compact_group(format, [&](auto group) QSL_INLINE_LAMBDA {
    constexpr int size = decltype(group)::size;
    const CompactRuns shape = compact_runs<size>(run, runs, lda, ldap);
    const int step = 2 * size * runs * ldap;
    for (; nm >= size && size > 1; nm -= size, a += size, ap += step) {
      compact_pack<size>(&shape, a, ap);
    }
    for (; nm > 0; nm -= size, ap += step) {
      for (int lane = 0; lane < size; ++lane) {
        compact_pack_lane(&shape, size, lane < nm ? *a++ : nullptr, ap + lane);
      }
    }
  });
}

void zgeunpack_compact(int run, int runs, complex_double* const* matrices, int lda,
                       const double* ap, int ldap, int format, int nm) {
  if (run <= 0 || runs <= 0) return;
  const auto* a = reinterpret_cast<double* const*>(matrices);
  with_compact_group(format, [&](auto group) QSL_INLINE_LAMBDA {
    constexpr int size = decltype(group)::size;
    const CompactRuns shape = compact_runs<size>(run, runs, lda, ldap);
    const int step = 2 * size * runs * ldap;
    for (; nm >= size && size > 1; nm -= size, a += size, ap += step) {
      compact_unpack<size>(&shape, ap, a);
    }
    for (; nm > 0; nm -= size, ap += step) {
      for (int lane = 0; lane < size && lane < nm; ++lane) {
        compact_unpack_lane(&shape, size, ap + lane, *a++);
      }
    }
  });
}

void zgetrfnp_compact(int by_rows, int m, int n, double* ap, int ldap, int format, int nm) {
  if (m <= 0 || n <= 0) return;
  with_compact_vectors(format - 181, [&](auto group) QSL_INLINE_LAMBDA {
    using Group = decltype(group);
    const int groups = compact_groups(nm, Group::size);
    const int ld = ldap * Group::unit;
    if (m == n && n <= 5) {
      if (n == 1) return;
      return at_index<2, 5>(n, [&](auto order) QSL_INLINE_LAMBDA {
        if (by_rows) {
          compact_small_lu<Group, order.value, true>(ap, ld, groups);
        } else {
          compact_small_lu<Group, order.value, false>(ap, ld, groups);
        }
      });
    }
    const int row = by_rows ? ld : Group::unit, column = by_rows ? Group::unit : ld;
    const CompactMatrices matrices = {m, n, row, column, groups, (by_rows ? m : n) * ld};
    compact_lu<Group>(&matrices, ap);
  });
}

void ztrsm_compact(const CompactSolve* solve) {
  if (solve->m <= 0 || solve->n <= 0 || solve->nm <= 0) return;
  const FactorCopy<DoubleComplex> alpha(solve->alpha);
  const FactorKind kind = alpha.kind();
  with_compact_group(solve->format, [&](auto group) QSL_INLINE_LAMBDA {
    compact_solve<decltype(group)>(solve, alpha.parts, kind);
  });
}

}  // namespace qsl::QSL_LEVEL
