// The fused product and sum.
#pragma once

#include <cstdint>
#include <cstring>

namespace level1_test {

// a + b = sum + error, exactly (Knuth).
inline double two_sum(double a, double b, double& error) {
  const double sum = a + b;
  const double b_part = sum - a;
  error = (a - (sum - b_part)) + (b - b_part);
  return sum;
}

// a * b + c rounded once. C libraries are not trusted with it: some of them round twice. The middle
// sum is rounded to odd, after which a second rounding does no harm (Boldo and Melquiond, Emulation
// of FMA and correctly rounded sums, IEEE Trans. Comput. 57 (2008) 462-471).
inline double fused(double a, double b, double c) {
  const __float128 product = static_cast<__float128>(a) * b;  // 106 of 113 bits: exact
  const double high = static_cast<double>(product);
  const double low = static_cast<double>(product - high);
  double low_error, high_error, odd_error;
  const double low_sum = two_sum(c, low, low_error);
  const double high_sum = two_sum(high, low_sum, high_error);
  double odd = two_sum(low_error, high_error, odd_error);
  std::uint64_t bits;
  std::memcpy(&bits, &odd, sizeof bits);
  if (odd_error != 0 && bits % 2 == 0) {
    bits += (odd > 0) == (odd_error > 0) ? 1 : -1;
    std::memcpy(&odd, &bits, sizeof odd);
  }
  return high_sum + odd;
}

}  // namespace level1_test
