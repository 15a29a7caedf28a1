! The shape into which a structure is bent most easily: the smallest eigenvalue of its stiffness matrix,
! by inverse iteration. One factorisation serves all steps.
!
! Data: BCSSTK01 of the Harwell-Boeing collection, as in stiffness.c. The SuiteSparse Matrix Collection
! (T. A. Davis, Y. Hu, ACM Trans. Math. Software 38 (2011) 1:1-25) publishes the smallest singular value
! of each of its matrices, which is the smallest eigenvalue of this one; it is printed beside ours.
!
! Use: softest_shape [DATA_FOLDER]
program softest_shape
  use, intrinsic :: iso_c_binding, only: c_double, c_int
  use qsl
  implicit none
  integer, parameter :: order = 48, most_steps = 100
  real(c_double), parameter :: published = 3.417268e+03_c_double
#ifdef QSL_EXAMPLES_DATA
  character(*), parameter :: default_folder = &
    QSL_EXAMPLES_DATA
#else
  character(*), parameter :: default_folder = 'examples/data'
#endif
  real(c_double) :: a(order, order), factors(order, order), x(order), y(order), stiffness, before
  integer(c_int) :: pivots(order), info
  integer :: step

  call read_matrix(data_folder() // '/bcsstk01.txt')
  factors = a
  call dgetrf(order, order, factors, order, pivots, info)
  if (info /= 0) then
    print '(a, i0)', 'the structure can move freely: column ', info
    stop 1
  end if

  x = 1 / sqrt(real(order, c_double))
  stiffness = 0
  do step = 1, most_steps
    y = x
    call solve(y)
    before = stiffness
    stiffness = ddot(order, x, 1, y, 1) / ddot(order, y, 1, y, 1)
    x = y / sqrt(ddot(order, y, 1, y, 1))
    if (abs(stiffness - before) <= 1e-14_c_double * stiffness) exit
  end do

  print '(a, i0, a)', 'The softest shape of a structure (BCSSTK01, ', order, ' degrees of freedom)'
  print '(a, i0)', '  solves with one factorisation:    ', step
  print '(a, t37, f12.6)', '  smallest eigenvalue, QSL:', stiffness
  print '(a, t37, f9.3)', '  published:', published
  print '(a, es7.1)', '  |A x - eigenvalue x| / |A|:       ', &
    norm2(matmul(a, x) - stiffness * x) / maxval(sum(abs(a), dim=1))
  if (abs(stiffness / published - 1) > 2e-7_c_double) stop 1

contains

  ! b := inverse(A) * b, with P * L * U as the factorisation leaves it: the exchanges of rows in their
  ! order, then L, whose diagonal is one, then U. The rows of both are vectors with the stride `order`.
  subroutine solve(b)
    real(c_double), intent(inout) :: b(order)
    real(c_double) :: kept
    integer :: i
    do i = 1, order
      kept = b(i)
      b(i) = b(pivots(i))
      b(pivots(i)) = kept
    end do
    do i = 2, order
      b(i) = b(i) - ddot(i - 1, factors(i, 1), order, b, 1)
    end do
    b(order) = b(order) / factors(order, order)
    do i = order - 1, 1, -1
      b(i) = (b(i) - ddot(order - i, factors(i, i + 1), order, b(i + 1), 1)) / factors(i, i)
    end do
  end subroutine

  ! Lines of a row, a column and a value; the matrix is symmetric.
  subroutine read_matrix(path)
    character(*), intent(in) :: path
    character(200) :: line
    integer :: unit, status, i, j
    real(c_double) :: value
    a = 0
    open(newunit=unit, file=path, status='old', action='read')
    do
      read(unit, '(a)', iostat=status) line
      if (status /= 0) exit
      if (line(1:1) == '#') cycle
      read(line, *) i, j, value
      a(i, j) = value
      a(j, i) = value
    end do
    close(unit)
  end subroutine

  function data_folder()
    character(:), allocatable :: data_folder
    character(1000) :: argument
    call get_command_argument(1, argument)
    data_folder = default_folder
    if (argument /= '') data_folder = trim(argument)
  end function
end program
