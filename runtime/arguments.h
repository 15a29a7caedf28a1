// What the checks of several families share: transpose options in both styles, least sizes.
#pragma once

#include "include/qsl/types.h"

namespace qsl {

enum Transpose { no_transpose = 0, transpose = 1, conjugate_transpose = 2 };

inline bool is_transpose_option(char option) {
  const int letter = option & ~0x20;
  return letter == 'N' || letter == 'T' || letter == 'C';
}

// N is 0, T is 1, C is 2, in either case.
inline int decode_transpose(char option) {
  switch (option & ~0x20) {
    case 'N':
      return no_transpose;
    case 'T':
      return transpose;
    default:
      return conjugate_transpose;
  }
}

inline bool is_transpose_selector(int selector) {
  return selector >= CblasNoTrans && selector <= CblasConjTrans;
}

inline int at_least_one(int size) { return size > 1 ? size : 1; }

}  // namespace qsl
