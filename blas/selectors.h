// The C-style selectors and the option characters of the Fortran-style routines.
#pragma once

#include "include/qsl/types.h"

namespace qsl::blas {

struct TransposeOptions {
  const char* option[CblasConjTrans + 1];

  constexpr const char* operator[](int selector) const { return option[selector]; }
};

constexpr TransposeOptions make_transpose_options() {
  TransposeOptions table = {};
  table.option[CblasNoTrans] = "N";
  table.option[CblasTrans] = "T";
  table.option[CblasConjTrans] = "C";
  return table;
}

}  // namespace qsl::blas

// Option strings by transpose selector, 111 to 113; null below.
static constexpr qsl::blas::TransposeOptions qsl_cblas_trans_char =
    qsl::blas::make_transpose_options();
