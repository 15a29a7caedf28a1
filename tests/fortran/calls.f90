! A call of each export through the module, with its known result. All results are small integers, and
! exact.
program calls
  use, intrinsic :: iso_c_binding, only: c_associated, c_double, c_double_complex, c_f_pointer, &
    c_float_complex, c_int, c_intptr_t, c_loc, c_ptr, c_size_t
  use qsl
  implicit none
  integer, parameter :: real = c_double, complex = c_double_complex, single = c_float_complex
  complex(complex), parameter :: i = (0, 1), one = (1, 0), zero = (0, 0)

  call vectors
  call products
  call band_product
  call systems
  call band_system
  call compact_batch
  call memory

contains

  subroutine report(name, right)
    character(*), intent(in) :: name
    logical, intent(in) :: right
    print '(4a)', 'call ', name, ': ', trim(merge('right', 'wrong', right))
  end subroutine

  ! Equal, without a comparison of floating-point numbers that the compiler warns of.
  elemental logical function same(x, y)
    complex(complex), intent(in) :: x, y
    same = .not. abs(x - y) > 0
  end function

  elemental logical function equal(x, y)
    real(real), intent(in) :: x, y
    equal = .not. abs(x - y) > 0
  end function

  elemental complex(complex) function number(re, im)
    integer, intent(in) :: re, im
    number = cmplx(re, im, complex)
  end function

  subroutine vectors
    real(real) :: x(4), y(4)
    complex(complex) :: u(2), v(2)
    x = [1, 2, 3, 4]
    y = [4, 3, 2, 1]
    call report('DDOT', equal(ddot(4, x, 1, y, 1), 20.0_real))
    ! 1 and 3 with 3 and 4: the second vector backwards.
    call report('cblas_ddot', equal(cblas_ddot(2, x, 2, y, -1), 15.0_real))
    u = number([1, 3], [2, 4])
    v = zero
    call cblas_zcopy(2, u, 1, v, -1)
    call report('cblas_zcopy', all(same(v, u(2:1:-1))))
    v = one
    call cblas_zaxpy(2, i, u, 1, v, 1)
    call report('cblas_zaxpy', all(same(v, one + i * u)))
  end subroutine

  subroutine products
    real(real) :: a(2, 3), b(3, 2), c(2, 2)
    complex(complex) :: za(2, 3), zb(3, 2), zc(2, 2)
    complex(single) :: ca(2, 3), cc(3, 3)
    a = reshape([1, 2, 3, 4, 5, 6], [2, 3])
    b = reshape([1, 0, 2, -1, 3, 1], [3, 2])
    c = 1
    call dgemm('N', 'N', 2, 2, 3, 2.0_real, a, 2, b, 3, -1.0_real, c, 2)
    call report('DGEMM', all(equal(c, 2 * matmul(a, b) - 1)))
    ! By rows these arrays are transpose(A) and transpose(B), and so is the result.
    c = 0
    call cblas_dgemm(CblasRowMajor, CblasTrans, CblasTrans, 2, 2, 3, 1.0_real, a, 2, b, 3, 0.0_real, c, 2)
    call report('cblas_dgemm', all(equal(transpose(c), matmul(a, b))))
    za = a + i * a(2:1:-1, :)
    zb = i * b
    zc = zero
    call cblas_zgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, 2, 2, 3, i, za, 2, zb, 3, zero, zc, 2)
    call report('cblas_zgemm', all(same(zc, i * matmul(za, zb))))
    ca = cmplx(za, kind=single)
    cc = 1
    call cblas_cgemm(CblasColMajor, CblasConjTrans, CblasNoTrans, 3, 3, 2, (1.0, 0.0), ca, 2, ca, 2, &
      (1.0, 0.0), cc, 3)
    call report('cblas_cgemm', all(same(cmplx(cc, kind=complex), matmul(conjg(transpose(za)), za) + 1)))
  end subroutine

  ! A = [1 2 0; 3i 4 5; 0 6 7], as in the header.
  subroutine band_product
    complex(complex) :: a(3, 3), x(3), y(3)
    a = reshape(number([0, 1, 0, 2, 4, 6, 5, 7, 0], [0, 0, 3, 0, 0, 0, 0, 0, 0]), [3, 3])
    x = one
    y = zero
    call cblas_zgbmv(CblasColMajor, CblasNoTrans, 3, 3, 1, 1, one, a, 3, x, 1, zero, y, 1)
    call report('cblas_zgbmv', all(same(y, number([3, 9, 13], [0, 3, 0]))))
  end subroutine

  subroutine systems
    real(real) :: a(2, 2), b(2, 1)
    complex(complex) :: z(2, 2), w(2)
    integer(c_int) :: pivots(2), info
    ! The second row is the pivot: U = [4 6; 0 -1], and the multiplier is a half.
    a = reshape([2, 4, 2, 6], [2, 2])
    info = -1
    call dgetrf(2, 2, a, 2, pivots, info)
    call report('DGETRF', info == 0 .and. all(pivots == 2) .and. equal(2 * a(2, 1), 1.0_real) .and. &
      equal(a(1, 2), 6.0_real) .and. equal(a(2, 2), -1.0_real))
    a = reshape([2, 4, 2, 6], [2, 2])
    b(:, 1) = [6, 16]
    info = lapacke_dgesv(CblasColMajor, 2, 1, a, 2, pivots, b, 2)
    call report('LAPACKE_dgesv', info == 0 .and. all(equal(b(:, 1), [1.0_real, 2.0_real])))
    z = reshape([zero, 2 * i, one, one], [2, 2])
    w = [2 * one, one]
    info = lapacke_zgesv(CblasRowMajor, 2, 1, z, 2, pivots, w, 1)
    ! By rows: 2i y = 2, x + y = 1.
    call report('LAPACKE_zgesv', info == 0 .and. all(same(w, [one + i, -i])))
  end subroutine

  ! A = [2 i 0; 1 2 i; 0 1 2], as in the header.
  subroutine band_system
    complex(complex) :: ab(4, 3), b(3)
    integer(c_int) :: pivots(3), info
    ab = reshape(number([0, 0, 2, 1, 0, 0, 2, 1, 0, 0, 2, 0], [0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0]), [4, 3])
    b = number([2, 3, 3], [1, 1, 0])
    info = lapacke_zgbsv(CblasColMajor, 3, 1, 1, 1, ab, 4, pivots, b, 3)
    call report('LAPACKE_zgbsv', info == 0 .and. all(abs(b - 1) < 1e-15_real))
  end subroutine

  ! The two systems of the header.
  subroutine compact_batch
    complex(complex), target :: a(2, 2, 2), b(2, 2)
    complex(complex) :: known(2, 2)
    type(c_ptr) :: matrices(2), sides(2)
    real(real), allocatable :: ap(:), bp(:)
    integer(c_int) :: format, info, bytes
    integer :: k
    a(:, :, 1) = reshape(number([2, 0, 1, 4], [0, 2, 0, 0]), [2, 2])
    a(:, :, 2) = reshape(number([4, 2, 0, 3], [0, 0, 1, 0]), [2, 2])
    b(:, 1) = number([2, 0], [1, 6])
    b(:, 2) = number([0, 3], [5, 2])
    known = reshape([one, i, i, one], [2, 2])
    do k = 1, 2
      matrices(k) = c_loc(a(1, 1, k))
      sides(k) = c_loc(b(1, k))
    end do
    format = qsl_get_format_compact()
    call report('qsl_get_format_compact', any(format == [QSL_COMPACT_SSE, QSL_COMPACT_AVX, QSL_COMPACT_AVX512]))
    ! Three matrices of two by one take two groups of two, or one of four.
    bytes = qsl_zget_size_compact(2, 1, QSL_COMPACT_SSE, 3)
    call report('qsl_zget_size_compact', bytes == 128 .and. &
      qsl_zget_size_compact(2, 1, QSL_COMPACT_AVX, 3) == bytes)
    allocate(ap(qsl_zget_size_compact(2, 2, format, 2) / 8), bp(qsl_zget_size_compact(2, 1, format, 2) / 8))
    call qsl_zgepack_compact(CblasColMajor, 2, 2, matrices, 2, ap, 2, format, 2)
    call qsl_zgepack_compact(CblasColMajor, 2, 1, sides, 2, bp, 2, format, 2)
    ! The first elements, then their imaginary parts; zeros where a matrix is missing.
    call report('qsl_zgepack_compact', all(equal(ap(1:2), [2.0_real, 4.0_real])) .and. &
      equal(sum(ap), 16.0_real + 3.0_real) .and. equal(sum(bp), 5.0_real + 14.0_real))
    info = -1
    call qsl_zgetrfnp_compact(CblasColMajor, 2, 2, ap, 2, info, format, 2)
    call qsl_zgeunpack_compact(CblasColMajor, 2, 2, matrices, 2, ap, 2, format, 2)
    ! L = [1 0; i 1] and U = [2 1; 0 4 - i], exactly.
    call report('qsl_zgetrfnp_compact', info == 0 .and. same(a(2, 1, 1), i) .and. same(a(2, 2, 1), 4 - i))
    call report('qsl_zgeunpack_compact', all(same(a(1, :, 1), [2 * one, one])) .and. &
      all(same(a(1, :, 2), [4 * one, i])))
    call qsl_ztrsm_compact(CblasColMajor, CblasLeft, CblasLower, CblasNoTrans, CblasUnit, 2, 1, one, ap, 2, bp, &
      2, format, 2)
    call qsl_ztrsm_compact(CblasColMajor, CblasLeft, CblasUpper, CblasNoTrans, CblasNonUnit, 2, 1, one, ap, 2, bp, &
      2, format, 2)
    call qsl_zgeunpack_compact(CblasColMajor, 2, 1, sides, 2, bp, 2, format, 2)
    call report('qsl_ztrsm_compact', all(abs(b - known) < 1e-15_real))
  end subroutine

  subroutine memory
    type(c_ptr) :: block
    real(real), pointer :: x(:)
    integer(c_intptr_t) :: address
    block = qsl_malloc(800_c_size_t, 128_c_int)
    address = transfer(block, address)
    call c_f_pointer(block, x, [100])
    x = 1
    call report('QSL_malloc', c_associated(block) .and. modulo(address, 128_c_intptr_t) == 0 .and. &
      equal(sum(x), 100.0_real))
    call qsl_free(block)
    call report('QSL_free', .true.)
    call qsl_free_buffers
    call report('QSL_Free_Buffers', .true.)
  end subroutine

end program
