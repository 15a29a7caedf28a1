// Dispatchers: one per internal routine, with one cached code pointer.
//
// A dispatcher's fast path is a load of its slot, a test and an indirect jump. It leaves the stack
// and every argument alone, which is why it is written in assembly: compiled C++ would reload the
// arguments and pass doubles through the x87 unit, which quiets signalling NaNs.
//
//   QSL_DECLARE_VARIANTS(double, ddot, (int n, const double* x, int incx, ...))   in a header:
//       declares qsl::<level>::ddot for the six levels and qsl_dispatch_ddot;
//   QSL_DISPATCHER(ddot)                                                          in one source:
//       defines qsl_dispatch_ddot over these variants.
//
// QSL_REPRODUCIBLE_DISPATCHER(routine, level) names the level whose body serves the two lowest ones
// when a reproducibility mode is on: p4, or cnr for a routine with a body of its own there, which
// QSL_DECLARE_REPRODUCIBLE declares.
#pragma once

namespace qsl {

using Code = void (*)();

// The variants of one routine. `cnr` is null for a routine without a reproducible body.
struct Variants {
  Code p4, p4m, p4m3, avx, avx2, avx512, cnr;
};

// The slow path: decides the variant, stores it in the slot and returns what the slot then holds.
// A processor type without variants ends the process.
Code resolve_variant(Code volatile* slot, const Variants& variants);

}  // namespace qsl

// The slot's value in eax. On ELF the address is relative to the program counter, so that the code
// needs no relocation; a PE file is relocated as a whole.
#if defined(__ELF__)
// Says that a call stays inside the library. Without it a call of a function that is only declared
// goes the way of an exported one, which keeps a register busy and rules out a jump.
#define QSL_HIDDEN [[gnu::visibility("hidden")]]
#define QSL_ASM_NAME(name) #name
#define QSL_ASM_LOAD_SLOT(routine) \
  "call qsl_pc_thunk\n"            \
  "1: movl qsl_slot_" #routine " - 1b(%eax), %eax\n"
#define QSL_ASM_BEGIN(function)                \
  ".pushsection .text, \"ax\"\n"               \
  ".p2align 4\n"                               \
  ".globl " #function                          \
  "\n"                                         \
  ".hidden " #function                         \
  "\n"                                         \
  ".type " #function ", @function\n" #function \
  ":\n"                                        \
  ".cfi_startproc\n"
#define QSL_ASM_END(function) ".cfi_endproc\n.size " #function ", . - " #function "\n.popsection\n"
#else
#define QSL_HIDDEN
#define QSL_ASM_NAME(name) "_" #name
#define QSL_ASM_LOAD_SLOT(routine) "movl _qsl_slot_" #routine ", %eax\n"
#define QSL_ASM_BEGIN(function) \
  ".text\n"                     \
  ".p2align 4\n"                \
  ".globl _" #function          \
  "\n"                          \
  "_" #function ":\n"
#define QSL_ASM_END(function)
#endif

#define QSL_DECLARE_VARIANT(level, result, routine, arguments) \
  namespace qsl::level {                                       \
  result routine arguments;                                    \
  }

#define QSL_DECLARE_VARIANTS(result, routine, arguments)  \
  QSL_DECLARE_VARIANT(p4, result, routine, arguments)     \
  QSL_DECLARE_VARIANT(p4m, result, routine, arguments)    \
  QSL_DECLARE_VARIANT(p4m3, result, routine, arguments)   \
  QSL_DECLARE_VARIANT(avx, result, routine, arguments)    \
  QSL_DECLARE_VARIANT(avx2, result, routine, arguments)   \
  QSL_DECLARE_VARIANT(avx512, result, routine, arguments) \
  extern "C" QSL_HIDDEN result qsl_dispatch_##routine arguments

#define QSL_DECLARE_REPRODUCIBLE(result, routine, arguments) \
  QSL_DECLARE_VARIANT(cnr, result, routine, arguments)       \
  static_assert(true, "")

// The code of a dispatcher is the same for every signature, and so it is written without one: a
// function of its own would have to repeat the arguments.
#define QSL_VARIANT(level, routine) reinterpret_cast<qsl::Code>(&qsl::level::routine)

#define QSL_DEFINE_DISPATCHER(routine, reproducible)                     \
  extern "C" {                                                           \
  [[gnu::used]] qsl::Code volatile qsl_slot_##routine = nullptr;         \
  [[gnu::used]] qsl::Code qsl_resolve_##routine() {                      \
    static const qsl::Variants variants = {QSL_VARIANT(p4, routine),     \
                                           QSL_VARIANT(p4m, routine),    \
                                           QSL_VARIANT(p4m3, routine),   \
                                           QSL_VARIANT(avx, routine),    \
                                           QSL_VARIANT(avx2, routine),   \
                                           QSL_VARIANT(avx512, routine), \
                                           reproducible};                \
    return qsl::resolve_variant(&qsl_slot_##routine, variants);          \
  }                                                                      \
  }                                                                      \
  asm(QSL_ASM_BEGIN(qsl_dispatch_##routine)                                         \
      QSL_ASM_LOAD_SLOT(routine)                                                    \
      "testl %eax, %eax\n"                                                          \
      "je 2f\n"                                                                     \
      "jmp *%eax\n"                                                                 \
      "2: call " QSL_ASM_NAME(qsl_resolve_##routine) "\n"                           \
      "jmp *%eax\n"                                                                 \
      QSL_ASM_END(qsl_dispatch_##routine))

#define QSL_DISPATCHER(routine) QSL_DEFINE_DISPATCHER(routine, nullptr)
#define QSL_REPRODUCIBLE_DISPATCHER(routine, level) \
  QSL_DEFINE_DISPATCHER(routine, QSL_VARIANT(level, routine))
