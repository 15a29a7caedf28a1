/**
 * @file memory.h
 * @brief Aligned memory and the library's buffer cache.
 */
#ifndef QSL_MEMORY_H
#define QSL_MEMORY_H

#include <stddef.h>

#include "qsl/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @brief Allocates an aligned block.
 *
 * @param size       Bytes wanted.
 * @param alignment  Alignment in bytes. A value below 64, or one that is not a power of two, counts
 *                   as 64.
 * @return The block, or a null pointer when @p size is 0, when the request is too large for the
 *         address space or when the system has no memory. Nothing is printed.
 *
 * The block belongs to the caller until QSL_free(). Safe to call from several threads at once; the
 * block may be freed by another thread.
 *
 * @code{.c}
 * double *x = QSL_malloc(1000 * sizeof(double), 64);
 * ...
 * QSL_free(x);
 * @endcode
 */
QSL_API void* QSL_malloc(size_t size, int alignment);

/**
 * @brief Frees a block of QSL_malloc().
 *
 * @param p  The block; a null pointer is ignored. Only pointers from QSL_malloc() may be given.
 */
QSL_API void QSL_free(void* p);

/**
 * @brief Gives the buffers that the library keeps for reuse back to the system.
 *
 * The library's routines keep up to five work buffers a thread between calls. This call releases
 * those of all threads, except buffers in use by a routine at that moment, which are released when
 * the routine ends. Blocks of QSL_malloc() are not touched. May be called at any time from any
 * thread.
 */
QSL_API void QSL_Free_Buffers(void);

#ifdef __cplusplus
}
#endif

#endif /* QSL_MEMORY_H */
