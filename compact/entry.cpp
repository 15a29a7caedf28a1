// The exports: selectors become characters, formats their indices, and cases of the triangular
// solve the one that the kernels know.
#include "compact/routines.h"
#include "include/qsl/compact.h"
#include "runtime/config/version.h"
#include "runtime/text.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::compact {

// Numbers wrap: a product of sizes that is out of range belongs to a batch that there can't be, or
// to a call that has nothing to do.
static int wrapped_product(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}

// The index of a format's code, which is any number.
static int index_of(int code) {
  return static_cast<int>(static_cast<unsigned>(code) - QSL_COMPACT_SSE);
}

// Matrices of a group, by the format's index.
static int group_size(int index) { return index < 0 || index > 2 ? 1 : 2 << index; }

static char layout_letter(int layout) { return layout == CblasRowMajor ? 'R' : 'C'; }

// The shape that packing and unpacking share.
struct Copy {
  char layout;
  int rows, columns, lda, ldap, format, nm;

  Copy(int layout_selector, int rows_, int columns_, int lda_, int ldap_, int code, int nm_)
      : layout(layout_letter(layout_selector)),
        rows(rows_),
        columns(columns_),
        lda(lda_),
        ldap(ldap_),
        format(index_of(code)),
        nm(nm_) {}

  bool by_rows() const { return layout == 'R'; }
  int run() const { return by_rows() ? columns : rows; }
  int runs() const { return by_rows() ? rows : columns; }
};

struct PackCall {
  Copy copy;
  const complex_double* const* a;
  double* ap;

  void run() const {
    qsl_dispatch_zgepack_compact(copy.run(), copy.runs(), a, copy.lda, ap, copy.ldap, copy.format,
                                 copy.nm);
  }
  void print(VerboseCall& timed) const {
    timed.print("ZGEPACK_COMPACT(%c,%d,%d,%p,%d,%p,%d,%d,%d)", copy.layout, copy.rows, copy.columns,
                a, copy.lda, ap, copy.ldap, copy.format, copy.nm);
  }
};

struct UnpackCall {
  Copy copy;
  complex_double* const* a;
  const double* ap;

  void run() const {
    qsl_dispatch_zgeunpack_compact(copy.run(), copy.runs(), a, copy.lda, ap, copy.ldap, copy.format,
                                   copy.nm);
  }
  void print(VerboseCall& timed) const {
    timed.print("ZGEUNPACK_COMPACT(%c,%d,%d,%p,%d,%p,%d,%d,%d)", copy.layout, copy.rows,
                copy.columns, a, copy.lda, ap, copy.ldap, copy.format, copy.nm);
  }
};

struct GetrfnpCall {
  int layout, m, n;
  double* ap;
  int ldap;
  Info info;
  int format, nm;

  void run() const {
    info.set(0);
    qsl_dispatch_zgetrfnp_compact(layout == CblasRowMajor, m, n, ap, ldap, format, nm);
  }
  void print(VerboseCall& timed) const {
    timed.print("QSL_ZGETRFNP_COMPACT(%d,%d,%d,%p,%d,%d,%d,%d)", layout, m, n, ap, ldap,
                info.value(), format, nm);
  }
};

struct TrsmCall {
  char layout, side, uplo, trans, diag;
  int m, n;
  const complex_double* alpha;
  const double* ap;
  int ldap;
  double* bp;
  int ldbp;
  int format, nm;

  // By rows the storage is that of the transposed matrices by columns: X op(A) = B becomes
  // op(A)^T X^T = B^T, so rows and columns, the sides and the triangles change places. On the right
  // the same is done once more, with distances instead of storage.
  void run() const {
    const bool by_rows = layout == 'R';
    const bool left = (side == 'L') != by_rows;
    const bool lower = (uplo == 'L') != by_rows;
    const int rows = by_rows ? n : m, columns = by_rows ? m : n;
    // op(A) or its transpose is what stands on the left.
    const bool transposed = (trans != 'N') == left;
    CompactSolve solve;
    solve.m = left ? rows : columns;
    solve.n = left ? columns : rows;
    solve.lower = lower != transposed;
    solve.conjugate = trans == 'C';
    solve.unit = diag == 'U';
    solve.alpha = alpha;
    solve.a = ap;
    solve.a_row = transposed ? ldap : 1;
    solve.a_column = transposed ? 1 : ldap;
    solve.a_group = wrapped_product(solve.m, ldap);
    solve.b = bp;
    solve.b_row = left ? 1 : ldbp;
    solve.b_column = left ? ldbp : 1;
    solve.b_group = wrapped_product(columns, ldbp);
    solve.format = format;
    solve.nm = nm;
    qsl_dispatch_ztrsm_compact(&solve);
  }
  void print(VerboseCall& timed) const {
    timed.print("ZTRSM_COMPACT(%c,%c,%c,%c,%c,%d,%d,%p,%p,%d,%p,%d,%d,%d)", layout, side, uplo,
                trans, diag, m, n, alpha, ap, ldap, bp, ldbp, format, nm);
  }
};

static const char avx512[] =
    "Arvex(R) Advanced Vector Extensions 512 (Arvex(R) AVX-512) enabled processors";
static const char avx512_mic[] =
    "Arvex(R) Advanced Vector Extensions 512 (Arvex(R) AVX-512) for Arvex(R) Many Integrated Core "
    "Architecture (Arvex(R) MIC Architecture) enabled processors";
static const char avx512_mic_e1[] =
    "Arvex(R) Advanced Vector Extensions 512 (Arvex(R) AVX-512) for Arvex(R) Many Integrated Core "
    "Architecture (Arvex(R) MIC Architecture) with support of AVX512_4FMAPS and AVX512_4VNNIW "
    "instruction groups";
static const char avx2[] =
    "Arvex(R) Advanced Vector Extensions 2 (Arvex(R) AVX2) enabled processors";
static const char avx[] = "Arvex(R) Advanced Vector Extensions (Arvex(R) AVX) enabled processors";

}  // namespace qsl::compact

using namespace qsl::compact;
using qsl::wrapped;

extern "C" {

int qsl_get_format_compact() {
  static const struct {
    const char* text;
    int format;
  } rows[] = {{avx512, QSL_COMPACT_AVX512},
              {avx512_mic, QSL_COMPACT_AVX512},
              {avx512_mic_e1, QSL_COMPACT_AVX512},
              {avx2, QSL_COMPACT_AVX},
              {avx, QSL_COMPACT_AVX}};
  qsl_version version;
  qsl_get_version(&version);
  for (const auto& row : rows) {
    if (qsl::text_equal(version.processor, row.text)) return row.format;
  }
  return QSL_COMPACT_SSE;
}

int qsl_zget_size_compact(int rows, int columns, int format, int nm) {
  const int size = group_size(index_of(format));
  const int rest = nm % size;
  const unsigned matrices = static_cast<unsigned>(nm) + (rest != 0 ? size - rest : 0);
  return static_cast<int>(16u * static_cast<unsigned>(rows) * static_cast<unsigned>(columns) *
                          matrices);
}

void qsl_zgepack_compact(int layout, int rows, int columns, complex_double* const* a, int lda,
                         double* ap, int ldap, int format, int nm) {
  const PackCall call = {{layout, rows, columns, lda, ldap, format, nm}, a, ap};
  wrapped(&call);
}

void qsl_zgeunpack_compact(int layout, int rows, int columns, complex_double* const* a, int lda,
                           const double* ap, int ldap, int format, int nm) {
  const UnpackCall call = {{layout, rows, columns, lda, ldap, format, nm}, a, ap};
  wrapped(&call);
}

void qsl_zgetrfnp_compact(int layout, int m, int n, double* ap, int ldap, int* info, int format,
                          int nm) {
  const GetrfnpCall call = {layout, m, n, ap, ldap, qsl::Info(info), format, nm};
  wrapped(&call);
}

void qsl_ztrsm_compact(int layout, int side, int uplo, int trans, int diag, int m, int n,
                       const complex_double* alpha, const double* ap, int ldap, double* bp,
                       int ldbp, int format, int nm) {
  const TrsmCall call = {layout_letter(layout),
                         side == CblasLeft ? 'L' : 'R',
                         uplo == CblasUpper ? 'U' : 'L',
                         trans == CblasNoTrans ? 'N'
                         : trans == CblasTrans ? 'T'
                                               : 'C',
                         diag == CblasNonUnit ? 'N' : 'U',
                         m,
                         n,
                         alpha,
                         ap,
                         ldap,
                         bp,
                         ldbp,
                         index_of(format),
                         nm};
  wrapped(&call);
}
}
