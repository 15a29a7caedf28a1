/**
 * @file qsl.h
 * @brief All public headers of QSL.
 *
 * QSL is a numerical kernel library for 32-bit x86. Every function here uses the C calling
 * convention, takes 32-bit integers, runs on the caller's thread and may be called from several
 * threads at once on different data.
 */
#ifndef QSL_H
#define QSL_H

#include "qsl/blas.h"
#include "qsl/compact.h"
#include "qsl/lapack.h"
#include "qsl/memory.h"
#include "qsl/types.h"

#endif /* QSL_H */
