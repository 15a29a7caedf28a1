// The reproducibility mode: the same bits from run to run, whatever the alignment, on a branch that
// the user may fix with QSL_CBWR.
#pragma once

// Modes. 0 is off and reported as 1; 5 is never stored, since "SSE3" gives the SSE2 branch.
enum {
  QSL_CBWR_OFF = 1,
  QSL_CBWR_AUTO = 2,
  QSL_CBWR_COMPATIBLE = 3,
  QSL_CBWR_SSE2 = 4,
  QSL_CBWR_SSSE3 = 6,
  QSL_CBWR_SSE4_1 = 7,
  QSL_CBWR_SSE4_2 = 8,
  QSL_CBWR_AVX = 9,
  QSL_CBWR_AVX2 = 10,
  QSL_CBWR_AVX512_MIC = 11,
  QSL_CBWR_AVX512 = 12,
  QSL_CBWR_AVX512_MIC_E1 = 13,
};

// Status codes of the calls below.
enum {
  QSL_CBWR_SUCCESS = 0,
  QSL_CBWR_BAD_QUERY = -2,
  QSL_CBWR_UNSUPPORTED = -3,
  QSL_CBWR_UNKNOWN = -4,
  QSL_CBWR_LOCKED = -8,
};

extern "C" {

// `what` 1: the effective mode, off reported as 1; -1: the raw mode word; anything else
// QSL_CBWR_BAD_QUERY. Reads QSL_CBWR on first use under the init lock.
int qsl_cbwr_query(int what);
// The same for a caller that holds the init lock.
int qsl_cbwr_query_unlocked(int what);
// Sets the mode while nothing has been decided yet; QSL_CBWR_LOCKED afterwards.
int qsl_cbwr_set(int mode);
// Whether this processor can serve a mode.
int qsl_cbwr_check(int mode);

// The one lock of the processor type and the reproducibility mode.
extern volatile int qsl_init_lock;
}
