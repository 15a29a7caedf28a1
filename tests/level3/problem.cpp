#include "tests/level3/problem.h"

#include "qsl/qsl.h"

namespace level3_test {

std::ostream& operator<<(std::ostream& out, const Call& call) {
  static constexpr const char* styles[] = {"column-major", "row-major", "by address"};
  return out << styles[static_cast<int>(call.style)] << " "
             << "NTC"[call.transa] << "NTC"[call.transb] << ", alpha " << call.alpha.re << " "
             << call.alpha.im << ", beta " << call.beta.re << " " << call.beta.im << ", gaps "
             << call.pad_a << " " << call.pad_b << " " << call.pad_c << ", addresses "
             << call.phase_a << " " << call.phase_b << " " << call.phase_c << " modulo 64";
}

std::vector<Shape> ways() {
  std::vector<Shape> result = {{1, 1, 1},  {1, 1, 9},    {1, 7, 5},    {6, 1, 5},
                               {5, 6, 1},  {3, 4, 2},    {9, 5, 9},    {12, 7, 12},
                               {9, 30, 9}, {13, 11, 17}, {30, 26, 20}, {101, 2, 12}};
  if (emulated()) return result;
  result.insert(result.end(), {{1, 40, 300},
                               {40, 1, 300},
                               {70, 30, 1},
                               {66, 50, 110},
                               {60, 90, 105},
                               {250, 9, 12},
                               {75, 80, 140},
                               {30, 40, 520},
                               {60, 601, 9},
                               {193, 195, 9}});
  return result;
}

template <class Number>
Call rotated(unsigned index, Data data) {
  static const std::vector<Value> all = factors<Number>();
  const auto factor = [&](unsigned which) {
    return which == 0 && data == Data::general ? general_factor<Number>() : all[which];
  };
  const auto count = static_cast<unsigned>(all.size());
  Call call;
  // 9, 4 or 2, and 25 or 49 have no common divisor.
  call.transa = static_cast<int>(index % 9 / 3);
  call.transb = static_cast<int>(index % 3);
  call.style = index % 2 == 1                      ? Style::row_major
               : is_real<Number> && index % 4 == 0 ? Style::by_address
                                                   : Style::column_major;
  const unsigned pair = index % (count * count);
  call.alpha = factor(pair / count);
  call.beta = factor(pair % count);
  call.capital = index % 11 < 6;
  call.pad_a = static_cast<int>(index % 11 % 4);
  call.pad_b = static_cast<int>(index % 13 % 5);
  call.pad_c = static_cast<int>(index % 17 % 3);
  call.phase_a = index * 5 % 16 * 4;
  call.phase_b = (index * 7 + index / 16) % 16 * 4;
  call.phase_c = (index * 11 + index / 64) % 16 * 4;
  return call;
}
template Call rotated<double>(unsigned, Data);
template Call rotated<complex_float>(unsigned, Data);
template Call rotated<complex_double>(unsigned, Data);

template <class Number>
void Exported<Number>::operator()(const Call& call, const Shape& shape, const Number* alpha,
                                  const Number* a, int lda, const Number* b, int ldb,
                                  const Number* beta, Number* c, int ldc) const {
  const auto [m, n, k] = shape;
  const int layout = call.style == Style::row_major ? CblasRowMajor : CblasColMajor;
  const int transa = CblasNoTrans + call.transa, transb = CblasNoTrans + call.transb;
  if constexpr (is_real<Number>) {
    if (call.style != Style::by_address) {
      return cblas_dgemm(layout, transa, transb, m, n, k, *alpha, a, lda, b, ldb, *beta, c, ldc);
    }
    const char* letters = call.capital ? "NTC" : "ntc";
    DGEMM(letters + call.transa, letters + call.transb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta,
          c, &ldc);
  } else if constexpr (std::is_same_v<Number, complex_float>) {
    cblas_cgemm(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  } else {
    cblas_zgemm(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
}
template struct Exported<double>;
template struct Exported<complex_float>;
template struct Exported<complex_double>;

}  // namespace level3_test
