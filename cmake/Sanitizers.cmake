# The sanitized build, QSL_SANITIZE: what is instrumented, and with which checks.
#
# The frame and the entries get all checks. Of the kernels three levels are instrumented, one for each
# width of a register: p4, avx2, and avx512 where the processor can run it. The others are compiled as in
# a release. What they alone have (the realigned loads of p4m, the driver of one depth of p4m to avx) is
# guarded by the tests' guard pages, which see the callers' arrays and the work buffers but not the stack.
set(QSL_SANITIZED_LEVELS)
set(QSL_SANITIZE_FLAGS)
set(QSL_SANITIZE_KERNEL_FLAGS)
set(QSL_SANITIZE_TEST_FLAGS)
if(QSL_SANITIZE)
  set(QSL_SANITIZED_LEVELS p4 avx2)
  if(avx512 IN_LIST QSL_NATIVE_LEVELS)
    list(APPEND QSL_SANITIZED_LEVELS avx512)
  endif()
  set(common -O1 -g1 -fno-sanitize-recover=all -fno-omit-frame-pointer)
  set(QSL_SANITIZE_FLAGS -fsanitize=address,undefined ${common})
  # Kernels: addresses, and the bounds of arrays on the stack. Everything else that the other sanitizer
  # looks for is allowed here (any alignment, sums that wrap) or does not occur; and as kernels keep no
  # address of a variable, checks of uses after its scope find nothing, at four times the time to compile.
  set(QSL_SANITIZE_KERNEL_FLAGS -fsanitize=address,bounds -fno-sanitize-address-use-after-scope
      ${common})
  # Tests: addresses, for the arrays that they hand over. The checks of their own code would take two
  # thirds of the time to compile.
  set(QSL_SANITIZE_TEST_FLAGS -fsanitize=address -fno-sanitize-address-use-after-scope ${common})
  add_link_options(-fsanitize=address,undefined)
endif()
