! The interface of QSL for Fortran: one explicit interface for each exported function.
!
! A compiler's module files are its own, so this source is compiled with the program:
!
!   gfortran -m32 $(pkg-config --variable=fortran qsl) program.f90 $(pkg-config --libs qsl)
!
! or, with CMake, target_link_libraries(program PRIVATE qsl::fortran).
!
! The names are those of the C headers, which tell what each argument means; Fortran does not look at
! the case of letters, so dgemm is DGEMM. Arguments that C takes by value or by pointer are passed so
! by these interfaces, without anything that the caller has to write. Matrices are dummy arrays of
! assumed size: an array of any shape, or the element at which a part of one starts, may be passed. An
! array of pointers has the addresses of matrices, which c_loc gives.
! Complex numbers are complex(c_double_complex) and complex(c_float_complex), with the layout of the
! headers' complex_double and complex_float. Characters of options are single: the interfaces take no
! hidden lengths.
module qsl
  use, intrinsic :: iso_c_binding, only: c_char, c_double, c_double_complex, c_float_complex, c_int, &
    c_ptr, c_size_t
  implicit none
  private

  ! CBLAS_LAYOUT
  integer(c_int), parameter, public :: CblasRowMajor = 101
  integer(c_int), parameter, public :: CblasColMajor = 102
  ! CBLAS_TRANSPOSE
  integer(c_int), parameter, public :: CblasNoTrans = 111
  integer(c_int), parameter, public :: CblasTrans = 112
  integer(c_int), parameter, public :: CblasConjTrans = 113

  ! CBLAS_UPLO
  integer(c_int), parameter, public :: CblasUpper = 121
  integer(c_int), parameter, public :: CblasLower = 122
  ! CBLAS_DIAG
  integer(c_int), parameter, public :: CblasNonUnit = 131
  integer(c_int), parameter, public :: CblasUnit = 132
  ! CBLAS_SIDE
  integer(c_int), parameter, public :: CblasLeft = 141
  integer(c_int), parameter, public :: CblasRight = 142
  ! QSL_COMPACT_PACK
  integer(c_int), parameter, public :: QSL_COMPACT_SSE = 181
  integer(c_int), parameter, public :: QSL_COMPACT_AVX = 182
  integer(c_int), parameter, public :: QSL_COMPACT_AVX512 = 183

  ! Vectors.
  public :: ddot, cblas_ddot, cblas_zaxpy, cblas_zcopy
  ! A band matrix times a vector.
  public :: cblas_zgbmv
  ! Matrix products.
  public :: dgemm, cblas_dgemm, cblas_cgemm, cblas_zgemm
  ! Factorisation and solves.
  public :: dgetrf, lapacke_dgesv, lapacke_zgesv, lapacke_zgbsv
  ! Batches of small matrices.
  public :: qsl_get_format_compact, qsl_zget_size_compact, qsl_zgepack_compact, qsl_zgeunpack_compact
  public :: qsl_zgetrfnp_compact, qsl_ztrsm_compact
  ! Memory.
  public :: qsl_malloc, qsl_free, qsl_free_buffers

  interface

    function ddot(n, x, incx, y, incy) bind(c, name="DDOT")
      import
      integer(c_int), intent(in) :: n
      real(c_double), intent(in) :: x(*)
      integer(c_int), intent(in) :: incx
      real(c_double), intent(in) :: y(*)
      integer(c_int), intent(in) :: incy
      real(c_double) :: ddot
    end function

    function cblas_ddot(n, x, incx, y, incy) bind(c, name="cblas_ddot")
      import
      integer(c_int), value :: n
      real(c_double), intent(in) :: x(*)
      integer(c_int), value :: incx
      real(c_double), intent(in) :: y(*)
      integer(c_int), value :: incy
      real(c_double) :: cblas_ddot
    end function

    subroutine cblas_zaxpy(n, alpha, x, incx, y, incy) bind(c, name="cblas_zaxpy")
      import
      integer(c_int), value :: n
      complex(c_double_complex), intent(in) :: alpha
      complex(c_double_complex), intent(in) :: x(*)
      integer(c_int), value :: incx
      complex(c_double_complex), intent(inout) :: y(*)
      integer(c_int), value :: incy
    end subroutine

    subroutine cblas_zcopy(n, x, incx, y, incy) bind(c, name="cblas_zcopy")
      import
      integer(c_int), value :: n
      complex(c_double_complex), intent(in) :: x(*)
      integer(c_int), value :: incx
      complex(c_double_complex), intent(inout) :: y(*)
      integer(c_int), value :: incy
    end subroutine

    subroutine cblas_zgbmv(layout, trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy) &
        bind(c, name="cblas_zgbmv")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: trans
      integer(c_int), value :: m
      integer(c_int), value :: n
      integer(c_int), value :: kl
      integer(c_int), value :: ku
      complex(c_double_complex), intent(in) :: alpha
      complex(c_double_complex), intent(in) :: a(*)
      integer(c_int), value :: lda
      complex(c_double_complex), intent(in) :: x(*)
      integer(c_int), value :: incx
      complex(c_double_complex), intent(in) :: beta
      complex(c_double_complex), intent(inout) :: y(*)
      integer(c_int), value :: incy
    end subroutine

    subroutine dgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc) &
        bind(c, name="DGEMM")
      import
      character(kind=c_char), intent(in) :: transa
      character(kind=c_char), intent(in) :: transb
      integer(c_int), intent(in) :: m
      integer(c_int), intent(in) :: n
      integer(c_int), intent(in) :: k
      real(c_double), intent(in) :: alpha
      real(c_double), intent(in) :: a(*)
      integer(c_int), intent(in) :: lda
      real(c_double), intent(in) :: b(*)
      integer(c_int), intent(in) :: ldb
      real(c_double), intent(in) :: beta
      real(c_double), intent(inout) :: c(*)
      integer(c_int), intent(in) :: ldc
    end subroutine

    subroutine cblas_dgemm(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc) &
        bind(c, name="cblas_dgemm")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: transa
      integer(c_int), value :: transb
      integer(c_int), value :: m
      integer(c_int), value :: n
      integer(c_int), value :: k
      real(c_double), value :: alpha
      real(c_double), intent(in) :: a(*)
      integer(c_int), value :: lda
      real(c_double), intent(in) :: b(*)
      integer(c_int), value :: ldb
      real(c_double), value :: beta
      real(c_double), intent(inout) :: c(*)
      integer(c_int), value :: ldc
    end subroutine

    subroutine cblas_cgemm(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc) &
        bind(c, name="cblas_cgemm")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: transa
      integer(c_int), value :: transb
      integer(c_int), value :: m
      integer(c_int), value :: n
      integer(c_int), value :: k
      complex(c_float_complex), intent(in) :: alpha
      complex(c_float_complex), intent(in) :: a(*)
      integer(c_int), value :: lda
      complex(c_float_complex), intent(in) :: b(*)
      integer(c_int), value :: ldb
      complex(c_float_complex), intent(in) :: beta
      complex(c_float_complex), intent(inout) :: c(*)
      integer(c_int), value :: ldc
    end subroutine

    subroutine cblas_zgemm(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc) &
        bind(c, name="cblas_zgemm")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: transa
      integer(c_int), value :: transb
      integer(c_int), value :: m
      integer(c_int), value :: n
      integer(c_int), value :: k
      complex(c_double_complex), intent(in) :: alpha
      complex(c_double_complex), intent(in) :: a(*)
      integer(c_int), value :: lda
      complex(c_double_complex), intent(in) :: b(*)
      integer(c_int), value :: ldb
      complex(c_double_complex), intent(in) :: beta
      complex(c_double_complex), intent(inout) :: c(*)
      integer(c_int), value :: ldc
    end subroutine

    subroutine dgetrf(m, n, a, lda, ipiv, info) bind(c, name="DGETRF")
      import
      integer(c_int), intent(in) :: m
      integer(c_int), intent(in) :: n
      real(c_double), intent(inout) :: a(*)
      integer(c_int), intent(in) :: lda
      integer(c_int), intent(inout) :: ipiv(*)
      integer(c_int), intent(inout) :: info
    end subroutine

    function lapacke_dgesv(layout, n, nrhs, a, lda, ipiv, b, ldb) bind(c, name="LAPACKE_dgesv")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: n
      integer(c_int), value :: nrhs
      real(c_double), intent(inout) :: a(*)
      integer(c_int), value :: lda
      integer(c_int), intent(inout) :: ipiv(*)
      real(c_double), intent(inout) :: b(*)
      integer(c_int), value :: ldb
      integer(c_int) :: lapacke_dgesv
    end function

    function lapacke_zgesv(layout, n, nrhs, a, lda, ipiv, b, ldb) bind(c, name="LAPACKE_zgesv")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: n
      integer(c_int), value :: nrhs
      complex(c_double_complex), intent(inout) :: a(*)
      integer(c_int), value :: lda
      integer(c_int), intent(inout) :: ipiv(*)
      complex(c_double_complex), intent(inout) :: b(*)
      integer(c_int), value :: ldb
      integer(c_int) :: lapacke_zgesv
    end function

    function lapacke_zgbsv(layout, n, kl, ku, nrhs, ab, ldab, ipiv, b, ldb) &
        bind(c, name="LAPACKE_zgbsv")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: n
      integer(c_int), value :: kl
      integer(c_int), value :: ku
      integer(c_int), value :: nrhs
      complex(c_double_complex), intent(inout) :: ab(*)
      integer(c_int), value :: ldab
      integer(c_int), intent(inout) :: ipiv(*)
      complex(c_double_complex), intent(inout) :: b(*)
      integer(c_int), value :: ldb
      integer(c_int) :: lapacke_zgbsv
    end function

    function qsl_get_format_compact() bind(c, name="qsl_get_format_compact")
      import
      integer(c_int) :: qsl_get_format_compact
    end function

    function qsl_zget_size_compact(rows, columns, format, nm) bind(c, name="qsl_zget_size_compact")
      import
      integer(c_int), value :: rows
      integer(c_int), value :: columns
      integer(c_int), value :: format
      integer(c_int), value :: nm
      integer(c_int) :: qsl_zget_size_compact
    end function

    subroutine qsl_zgepack_compact(layout, rows, columns, a, lda, ap, ldap, format, nm) &
        bind(c, name="qsl_zgepack_compact")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: rows
      integer(c_int), value :: columns
      type(c_ptr), intent(in) :: a(*)
      integer(c_int), value :: lda
      real(c_double), intent(inout) :: ap(*)
      integer(c_int), value :: ldap
      integer(c_int), value :: format
      integer(c_int), value :: nm
    end subroutine

    subroutine qsl_zgeunpack_compact(layout, rows, columns, a, lda, ap, ldap, format, nm) &
        bind(c, name="qsl_zgeunpack_compact")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: rows
      integer(c_int), value :: columns
      type(c_ptr), intent(in) :: a(*)
      integer(c_int), value :: lda
      real(c_double), intent(in) :: ap(*)
      integer(c_int), value :: ldap
      integer(c_int), value :: format
      integer(c_int), value :: nm
    end subroutine

    subroutine qsl_zgetrfnp_compact(layout, m, n, ap, ldap, info, format, nm) &
        bind(c, name="qsl_zgetrfnp_compact")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: m
      integer(c_int), value :: n
      real(c_double), intent(inout) :: ap(*)
      integer(c_int), value :: ldap
      integer(c_int), intent(inout) :: info
      integer(c_int), value :: format
      integer(c_int), value :: nm
    end subroutine

    subroutine qsl_ztrsm_compact(layout, side, uplo, trans, diag, m, n, alpha, ap, ldap, bp, &
        ldbp, format, nm) bind(c, name="qsl_ztrsm_compact")
      import
      integer(c_int), value :: layout
      integer(c_int), value :: side
      integer(c_int), value :: uplo
      integer(c_int), value :: trans
      integer(c_int), value :: diag
      integer(c_int), value :: m
      integer(c_int), value :: n
      complex(c_double_complex), intent(in) :: alpha
      real(c_double), intent(in) :: ap(*)
      integer(c_int), value :: ldap
      real(c_double), intent(inout) :: bp(*)
      integer(c_int), value :: ldbp
      integer(c_int), value :: format
      integer(c_int), value :: nm
    end subroutine

    ! The block, for c_f_pointer.
    function qsl_malloc(size, alignment) bind(c, name="QSL_malloc")
      import
      integer(c_size_t), value :: size
      integer(c_int), value :: alignment
      type(c_ptr) :: qsl_malloc
    end function

    subroutine qsl_free(p) bind(c, name="QSL_free")
      import
      type(c_ptr), value :: p
    end subroutine

    subroutine qsl_free_buffers() bind(c, name="QSL_Free_Buffers")
    end subroutine

  end interface

end module
