// The order of the loops of level p4, by size.
#include <gtest/gtest.h>

#define QSL_LEVEL p4
#include "blas/level3/kernels/ladder.h"

namespace {

using Order = qsl::p4::LadderOrder;

struct Step {
  int m, n, k;
  Order order;
};

TEST(Ladder, EveryStepAndItsNeighbours) {
  for (const Step& step : {Step{249, 79, 100, Order::left_inside},
                           {250, 79, 101, Order::left_inside},
                           {249, 79, 101, Order::whole},
                           {4, 8, 101, Order::whole},
                           {249, 80, 101, Order::right_inside},
                           {249, 100, 101, Order::right_inside},
                           {250, 100, 101, Order::left_inside},
                           {249, 100, 100, Order::left_inside},
                           {249, 101, 101, Order::left_inside},
                           {100, 600, 50, Order::left_inside},
                           {500, 601, 50, Order::transposed},
                           {501, 601, 50, Order::left_inside},
                           {600, 701, 50, Order::transposed},
                           {600, 700, 50, Order::left_inside},
                           {601, 702, 50, Order::left_inside},
                           {601, 2000, 50, Order::left_inside},
                           {4, 601, 8, Order::transposed}}) {
    EXPECT_EQ(qsl::p4::ladder_order(step.m, step.n, step.k), step.order)
        << "m " << step.m << ", n " << step.n << ", k " << step.k;
  }
}

}  // namespace
