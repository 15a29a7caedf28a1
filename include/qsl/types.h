/**
 * @file types.h
 * @brief Types and selectors that all families share.
 */
#ifndef QSL_TYPES_H
#define QSL_TYPES_H

/** Marks an exported function. */
#if defined(QSL_STATIC)
#define QSL_API
#elif defined(_WIN32)
#ifdef QSL_BUILDING
#define QSL_API
#else
#define QSL_API __declspec(dllimport)
#endif
#else
#define QSL_API __attribute__((visibility("default")))
#endif

/**
 * A complex number in double precision: real part first, 16 bytes.
 *
 * That is the layout of C's `double complex`, of C++'s `std::complex<double>` and of Fortran's
 * `complex(c_double_complex)`. Pointers to arrays of these are cast where a parameter has this
 * type; where it is a `void` pointer they go as they are.
 *
 * @code{.c}
 * double complex a[1] = {2.0 * I}, b[1] = {4.0};  // of <complex.h>
 * int ipiv[1];
 * LAPACKE_zgesv(CblasColMajor, 1, 1, (complex_double*)a, 1, ipiv, (complex_double*)b, 1);
 * // b is {-2i}
 * @endcode
 *
 * @code{.cpp}
 * std::complex<double> a[1] = {{0, 2}}, b[1] = {4};
 * int ipiv[1];
 * LAPACKE_zgesv(CblasColMajor, 1, 1, reinterpret_cast<complex_double*>(a), 1, ipiv,
 *               reinterpret_cast<complex_double*>(b), 1);
 * // b is {-2i}
 * @endcode
 */
typedef struct complex_double {
  double real; /**< Real part. */
  double imag; /**< Imaginary part. */
} complex_double;

/** A complex number in single precision: real part first, 8 bytes. Otherwise as complex_double. */
typedef struct complex_float {
  float real; /**< Real part. */
  float imag; /**< Imaginary part. */
} complex_float;

/** Storage order of a matrix. */
typedef enum CBLAS_LAYOUT {
  CblasRowMajor = 101, /**< Rows are contiguous. */
  CblasColMajor = 102  /**< Columns are contiguous. */
} CBLAS_LAYOUT;

/** How a matrix operand is used. */
typedef enum CBLAS_TRANSPOSE {
  CblasNoTrans = 111,  /**< As it is. */
  CblasTrans = 112,    /**< Transposed. */
  CblasConjTrans = 113 /**< Conjugated and transposed. */
} CBLAS_TRANSPOSE;

/** Which triangle of a matrix is used. */
typedef enum CBLAS_UPLO {
  CblasUpper = 121, /**< On and above the diagonal. */
  CblasLower = 122  /**< On and below the diagonal. */
} CBLAS_UPLO;

/** Whether a triangle's diagonal is stored. */
typedef enum CBLAS_DIAG {
  CblasNonUnit = 131, /**< It is. */
  CblasUnit = 132     /**< It is taken as ones. */
} CBLAS_DIAG;

/** On which side of the other operand a matrix stands. */
typedef enum CBLAS_SIDE {
  CblasLeft = 141, /**< On the left. */
  CblasRight = 142 /**< On the right. */
} CBLAS_SIDE;

#endif /* QSL_TYPES_H */
