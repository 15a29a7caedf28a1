// Drivers of the two element types, and processor types that decide how a matrix is cut.
#pragma once

#include "lapack/solvers.h"
#include "lapack/tuning.h"
#include "tests/frame/support.h"
#include "tests/lapack/known_factors.h"
#include "tests/level1/variants.h"

namespace lapack_test {

template <class Number>
struct Routines;
template <>
struct Routines<double> {
  static constexpr auto getrf = qsl_dgetrf;
  static constexpr auto gesv = DGESV;
  static constexpr auto getrs = DGETRS;
  static constexpr auto laswp = DLASWP;
  static constexpr char letter = 'D';
};
template <>
struct Routines<complex_double> {
  static constexpr auto getrf = qsl_zgetrf;
  static constexpr auto gesv = ZGESV;
  static constexpr auto getrs = ZGETRS;
  static constexpr auto laswp = ZLASWP;
  static constexpr char letter = 'Z';
};

// The name of a routine as it is reported.
template <class Number>
std::string routine_name(const char* name) {
  return Routines<Number>::letter + std::string(name);
}

template <class Number>
struct Outcome {
  Matrix<Number> a;
  std::vector<int> ipiv;
  int info = 0;
};

template <class Number>
Outcome<Number> factor(const Matrix<Number>& a, const Storage& storage = {}) {
  Stored<Number> stored(a, storage);
  const int m = a.rows(), n = a.columns(), lda = stored.ld();
  Pivots pivots(std::min(m, n));
  int info = -77;
  Routines<Number>::getrf(&m, &n, stored.data(), &lda, pivots.data(), &info);
  EXPECT_TRUE(stored.intact() && pivots.intact()) << m << " by " << n;
  return {stored.elements(), pivots.values(), info};
}

// The types that cut matrices in ways of their own and whose kernels run here.
inline std::vector<int> cutting_types() {
  using level1_test::left_out;
  using level1_test::Level;
  std::vector<int> result;
  if (left_out(Level::p4) == nullptr) result.push_back(2);
  if (left_out(Level::avx2) == nullptr) result.push_back(7);
  if (left_out(Level::avx512) == nullptr) result.push_back(9);
  return result;
}

// The progress hook's calls, and the one at which it stops; 0: none.
struct Progress {
  static inline std::vector<int> steps;
  static inline int stop_at = 0;
  static inline std::string wrong;
  static inline const char* stage = "";

  static int record(const int* thread, const int* step, const char* name, int length) {
    if (*thread != 0 || length != 6 || std::string(name, 6) != stage) {
      wrong += std::string(name, 6) + " " + std::to_string(length) + " from thread " +
               std::to_string(*thread) + "\n";
    }
    steps.push_back(*step);
    return static_cast<int>(steps.size()) == stop_at ? -5 : 0;
  }
};

class Drivers : public frame_test::Frame {
 protected:
  static void become(int type) {
    reset();
    override_type(type);
    ASSERT_EQ(qsl_get_cpu_type(), type);
  }
  static void watch(const char* stage, int stop_at = 0) {
    Progress::steps.clear();
    Progress::wrong.clear();
    Progress::stage = stage;
    Progress::stop_at = stop_at;
    qsl_progress_installed = Progress::record;
  }
  void TearDown() override {
    qsl_progress_installed = nullptr;
    Frame::TearDown();
  }
};

}  // namespace lapack_test
