// The operation record of a product: an element type's routines on a level's tile.
#pragma once

#include "blas/level3/kernels/block_kernel.h"
#include "blas/level3/kernels/pack.h"
#include "blas/level3/kernels/pack_copies.h"
#include "blas/level3/kernels/simple_loops.h"

namespace qsl::QSL_LEVEL {

// As reports name the routine.
template <class Type>
inline constexpr const char* product_name = nullptr;
template <>
inline constexpr const char* product_name<Real> = "DGEMM";
template <>
inline constexpr const char* product_name<SingleComplex> = "CGEMM";
template <>
inline constexpr const char* product_name<DoubleComplex> = "ZGEMM";

template <class Type, class Tile>
struct Operation {
  static constexpr int lanes = Tile::Vector::lanes;
  static constexpr int mr = Tile::vectors * lanes / Type::parts;
  static constexpr int nr = Tile::strip_columns / Type::parts;
  // Strips of A are filled up to whole vectors.
  static constexpr int granule = lanes / Type::parts;

  template <bool along_k>
  static constexpr OperationRecord::Pack pack_b() {
    if constexpr (Tile::copies == 1) {
      return pack<Type, nr, 1, along_k>;
    } else {
      return pack_copies<Type, nr, typename Tile::Vector, along_k>;
    }
  }

  static constexpr OperationRecord record() {
    return {sizeof(typename Type::Element),
            product_name<Type>,
            one<Type>,
            scale_matrix<Type>,
            {pack<Type, mr, granule, false>, pack<Type, mr, granule, true>},
            {pack_b<false>(), pack_b<true>()},
            multiply_block<Type, Tile>,
            simple_loops<Type>,
            Tile::copies,
            make_tile_record(mr, nr, Tile::ku)};
  }
};

template <class Type, class Tile>
inline constexpr OperationRecord operation_record = Operation<Type, Tile>::record();

}  // namespace qsl::QSL_LEVEL
