// Passes over vectors: the work that grows with m + n, beside the kernels', which grows with m * n.
#pragma once

#include "elements/factor.h"
#include "elements/in_registers.h"
#include "elements/stride.h"

namespace qsl::QSL_LEVEL {

template <class Elements>
using WalkFrom = Walk<const typename Elements::Scalar, Elements::parts>;
template <class Elements>
using WalkTo = Walk<typename Elements::Scalar, Elements::parts>;

// to[i] := body(from[i], to[i]) for n elements, after which both walks stand behind them.
template <class Elements, class Body>
QSL_INLINE void pass(int n, WalkFrom<Elements>& from_walk, WalkTo<Elements>& to_walk,
                     const Body& body) {
  using Narrow = typename Elements::Narrow;
  WalkFrom<Elements> from = from_walk;
  WalkTo<Elements> to = to_walk;
  from_walk.advance(static_cast<std::uintptr_t>(n));
  to_walk.advance(static_cast<std::uintptr_t>(n));
  constexpr int together = Narrow::lanes / Elements::parts;
  if (together > 1 && from.is_contiguous() && to.is_contiguous()) {
    for (; n >= together; n -= together) {
      body(Narrow::load(*from), Narrow::load(*to)).store(*to);
      from.advance(together);
      to.advance(together);
      keep(n);
    }
  }
  repeat<1>(n, [&](auto) QSL_INLINE_LAMBDA {
    Elements::store_one(*to, body(Elements::load_one(*from), Elements::load_one(*to)));
    from.advance(1);
    to.advance(1);
  });
}

// to := from
template <class Elements>
QSL_INLINE void copy_pass(int n, WalkFrom<Elements>& from, WalkTo<Elements>& to) {
  pass<Elements>(n, from, to, [](auto x, auto) QSL_INLINE_LAMBDA { return x; });
}

// to := factor * from. A factor of zero stores zeros, a factor of one copies.
template <class Elements>
QSL_INLINE void multiply_pass(int n, const typename Elements::Scalar* factor,
                              WalkFrom<Elements>& from, WalkTo<Elements>& to) {
  using Narrow = typename Elements::Narrow;
  switch (kind_of<Elements>(factor)) {
    case FactorKind::zero:
      pass<Elements>(n, from, to, [](auto, auto) QSL_INLINE_LAMBDA { return Narrow::zero(); });
      return;
    case FactorKind::one:
      copy_pass<Elements>(n, from, to);
      return;
    case FactorKind::general: {
      const auto by = Elements::template FactorIn<Narrow>::read(factor);
      pass<Elements>(n, from, to, [&](auto x, auto) QSL_INLINE_LAMBDA { return by.times(x); });
    }
  }
}

// y := beta * y
template <class Elements>
[[gnu::noinline]] void scale(int n, const typename Elements::Scalar* beta,
                             typename Elements::Scalar* y_base, int incy) {
  if (kind_of<Elements>(beta) == FactorKind::one) return;
  WalkFrom<Elements> from(y_base, n, incy);
  WalkTo<Elements> to(y_base, n, incy);
  multiply_pass<Elements>(n, beta, from, to);
}

}  // namespace qsl::QSL_LEVEL
