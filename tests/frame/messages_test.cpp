// The message table, the printers, the parameter-error reporter and the formatted input and output.
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>

#include "runtime/messages/catalog.h"
#include "runtime/text_buffer.h"
#include "tests/frame/support.h"

extern "C" {
extern char qsl_msg_line_buffer[512], qsl_msg_text_buffer[512];
}

namespace {

using namespace frame_test;

// --- Table ---------------------------------------------------------------------------------------

const std::map<int, std::string> kTexts = {
    {0, "\n"},
    {6, "Arvex QSL ERROR: Parameter %d was incorrect on entry to %s."},
    {7, "Arvex QSL INTERNAL ERROR: Condition %d detected in function %s."},
    {8, "Arvex QSL INTERNAL ERROR: Insufficient workspace available in function %s."},
    {9, "Arvex QSL ERROR: Incompatible optional parameters on entry to %s."},
    {735, "Error (VML_STATUS_BADSIZE) in %s: array size %d is not positive."},
    {736, "Error (VML_STATUS_BADMEM) in %s: NULL pointer is passed."},
    {737, "Error (VML_STATUS_ERRDOM) in %s: argument is out of domain."},
    {738, "Error (VML_STATUS_SING) in %s: argument caused singularity."},
    {739, "Error (VML_STATUS_OVERFLOW) in %s: argument caused overflow."},
    {740, "Error (VML_STATUS_UNDERFLOW) in %s: argument caused underflow."},
    {741, "Unknown error in %s."},
    {742, "a(%d)=%g"},
    {743, "r(%d)=%g"},
    {744, "a(%d)=%g"},
    {745, "y(%d)=%g"},
    {746, "z(%d)=%g"},
    {747, "a(%d)=%g"},
    {748, "b(%d)=%g"},
    {749, "y(%d)=%g"},
    {750, "a(%d)=%g"},
    {751, "b(%d)=%g"},
    {752, "y(%d)=%g"},
    {753, "z(%d)=%g"},
    {760, "Arvex QSL FATAL ERROR: memory allocation error."},
    {1089, "Arvex QSL INTERNAL ERROR: Not enough work memory in function %s"},
    {1209,
     "Arvex QSL WARNING: incorrect conditional numerical reproducibility mode, QSL_CBWR_AUTO is "
     "set"},
    {1210,
     "Arvex QSL FATAL ERROR: This system does not meet the minimum requirements for use of the "
     "Arvex(R) Quartz Solver Library."},
    {1211,
     "The processor must support the Arvex(R) Streaming SIMD 2 Extensions (Arvex(R) SSE2) "
     "instructions."},
    {1212, "Arvex QSL INTERNAL ERROR: Issue accessing coprocessor %s."},
    {1213, "Arvex QSL ERROR: CPU %d is not supported."},
};

TEST(MessageTable, Has1415RowsOfThreeWords) {
  EXPECT_EQ(std::size(qsl_message_table.rows), 1415u);
  EXPECT_EQ(sizeof qsl_message_table.rows[0], 12u);
  EXPECT_EQ(offsetof(qsl::MessageRow, text), 0u);
  EXPECT_EQ(offsetof(qsl::MessageRow, next_id), 4u);
  EXPECT_EQ(offsetof(qsl::MessageRow, kind), 8u);
}

TEST(MessageTable, EachRowNamesTheNext) {
  for (int id = 0; id < 1414; ++id) EXPECT_EQ(qsl_message_table.rows[id].next_id, id + 1);
  EXPECT_EQ(qsl_message_table.rows[1414].next_id, 0);
}

TEST(MessageTable, Kinds) {
  std::map<int, int> counts;
  for (const qsl::MessageRow& row : qsl_message_table.rows) ++counts[row.kind];
  EXPECT_EQ(counts, (std::map<int, int>{{4, 1374}, {1, 36}, {2, 4}, {0, 1}}));
  for (int id : {3, 4, 760, 1413}) EXPECT_EQ(qsl_message_table.rows[id].kind, 2) << id;
  EXPECT_EQ(qsl_message_table.rows[1414].kind, 0);
}

TEST(MessageTable, TextsOfTheRowsInUse) {
  for (const auto& [id, text] : kTexts) EXPECT_EQ(qsl_message_table.rows[id].text, text) << id;
  for (const qsl::MessageRow& row : qsl_message_table.rows) EXPECT_NE(row.text, nullptr);
}

// --- Printing ------------------------------------------------------------------------------------

class Messages : public Frame {};

TEST_F(Messages, IdZeroIsTheNewlineAlone) {
  EXPECT_EQ(printed([] { qsl_print_message(0, 0, 0); }), "\n");
  EXPECT_EQ(printed([] { qsl_print_message(0, 0, 2, 5, "unused"); }), "\n");
  EXPECT_EQ(printed([] { qsl_print_message(4, 0, -1); }), "\n");
}

TEST_F(Messages, EachRowInUseWithItsArguments) {
  EXPECT_EQ(printed([] { qsl_print_message(0, 6, 2, 3, "DGEMM"); }),
            "Arvex QSL ERROR: Parameter 3 was incorrect on entry to DGEMM.\n");
  EXPECT_EQ(printed([] { qsl_print_message(0, 7, 2, -5, "f"); }),
            "Arvex QSL INTERNAL ERROR: Condition -5 detected in function f.\n");
  EXPECT_EQ(printed([] { qsl_print_message(0, 735, 2, "vdAdd", -1); }),
            "Error (VML_STATUS_BADSIZE) in vdAdd: array size -1 is not positive.\n");
  EXPECT_EQ(printed([] { qsl_print_message(0, 742, 2, 4, 0.25); }), "a(4)=0.25\n");
  EXPECT_EQ(printed([] { qsl_print_message(0, 753, 2, -4, 1e30); }).substr(0, 8), "z(-4)=1e");
  for (int id : {760, 1209, 1210, 1211}) {
    EXPECT_EQ(printed([id] { qsl_print_message(0, id, 0); }), kTexts.at(id) + "\n");
  }
  for (int id : {8, 9, 736, 737, 738, 739, 740, 741, 1089, 1212}) {
    std::string expected = kTexts.at(id);
    expected.replace(expected.find("%s"), 2, "NAME");
    EXPECT_EQ(printed([id] { qsl_print_message(0, id, 1, "NAME"); }), expected + "\n");
  }
}

TEST_F(Messages, SeverityAndArgumentCountHaveNoEffect) {
  for (int severity : {-1, 0, 1, 2, 4, 100}) {
    for (int nargs : {-1, 0, 1, 50}) {
      EXPECT_EQ(printed([=] { qsl_print_message(severity, 1213, nargs, 8); }),
                "Arvex QSL ERROR: CPU 8 is not supported.\n");
    }
  }
}

TEST_F(Messages, AnArgumentIsNoFormat) {
  EXPECT_EQ(printed([] { qsl_print_message(0, 741, 1, "%s%n%d%%"); }),
            "Unknown error in %s%n%d%%.\n");
}

TEST_F(Messages, AnOverlongMessageIsCutAt511Characters) {
  for (std::size_t length : {490u, 493u, 494u, 495u, 511u, 600u, 5000u}) {
    const std::string name(length, 'n');
    const std::string whole = "Unknown error in " + name + ".";
    EXPECT_EQ(printed([&] { qsl_print_message(0, 741, 1, name.c_str()); }),
              whole.substr(0, 511) + "\n");
  }
}

TEST_F(Messages, AnUnreachedRowPrintsALine) {
  const std::string text = printed([] { qsl_print_message(0, 10, 0); });
  EXPECT_EQ(text.back(), '\n');
}

TEST_F(Messages, WithoutACatalogTheLoadIsTriedOnce) {
  qsl_msg_try_load = 1;
  qsl_msg_use_builtin = 1;
  printed([] { qsl_print_message(0, 0, 0); });
  EXPECT_EQ(qsl_msg_try_load, 1) << "the newline needs no catalog";
  printed([] { qsl_print_message(0, 760, 0); });
  EXPECT_EQ(qsl_msg_try_load, 0);
  EXPECT_EQ(qsl_msg_use_builtin, 1);
}

TEST_F(Messages, LinesArePrintedAsTheyAre) {
  EXPECT_EQ(printed([] { qsl_print_line(0, "%s %d", 2, "text", 7); }), "text 7");
  EXPECT_EQ(printed([] { qsl_print_line(9, "%s\n", 1, "%d"); }), "%d\n");
  EXPECT_EQ(printed([] { qsl_print_line(0, "no argument\n", 1); }), "no argument\n");
}

TEST_F(Messages, LinesWithoutArgumentsAreNotPrinted) {
  std::strcpy(qsl_msg_line_buffer, "before");
  EXPECT_EQ(printed([] { qsl_print_line(0, "text %d\n", 0, 1); }), "");
  EXPECT_EQ(printed([] { qsl_print_line(0, "text %d\n", -1, 1); }), "");
  EXPECT_STREQ(qsl_msg_line_buffer, "before") << "nothing at all happens";
}

TEST_F(Messages, LinesAreCutAt511Characters) {
  const std::string text(600, 'x');
  EXPECT_EQ(printed([&] { qsl_print_line(0, "%s\n", 1, text.c_str()); }), text.substr(0, 511));
}

TEST_F(Messages, LinesGoToAStreamAndAreFlushed) {
  const std::string path = program_path() + ".lines";
  std::remove(path.c_str());
  const auto content = [&path] {
    std::string text;
    if (std::FILE* file = std::fopen(path.c_str(), "r")) {
      for (int c; (c = std::fgetc(file)) != EOF;) text += static_cast<char>(c);
      std::fclose(file);
    }
    return text;
  };
  QslStream* stream = qsl_stream_open_append(path.c_str());
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(printed([&] { qsl_fprint_line(stream, "%d %s\n", 2, 1, "%s"); }), "");
  EXPECT_EQ(content(), "1 %s\n") << "before the stream is closed";
  qsl_fprint_line(stream, "nothing\n", 0);
  qsl_stream_close(stream);
  stream = qsl_stream_open_append(path.c_str());
  ASSERT_NE(stream, nullptr);
  qsl_fprint_line(stream, "second %d\n", 1, 2);
  qsl_stream_close(stream);
  EXPECT_EQ(content(), "1 %s\nsecond 2\n");
  std::remove(path.c_str());
}

TEST_F(Messages, AStreamThatCannotBeOpenedIsNull) {
  EXPECT_EQ(qsl_stream_open_append("no/such/folder/file"), nullptr);
}

// --- Parameter errors ----------------------------------------------------------------------------

std::string report(const std::string& name, int info, int length) {
  return printed([&] { qsl_xerbla_print(name.c_str(), &info, length); });
}
std::string report(const std::string& name, int info) {
  return report(name, info, static_cast<int>(name.size()));
}

class Xerbla : public Frame {};

TEST_F(Xerbla, EachValueOfInfo) {
  EXPECT_EQ(report("DGEMM", 3),
            "\nArvex QSL ERROR: Parameter 3 was incorrect on entry to DGEMM.\n");
  EXPECT_EQ(report("f", 1), "\nArvex QSL ERROR: Parameter 1 was incorrect on entry to f.\n");
  EXPECT_EQ(report("f", 999), "\nArvex QSL ERROR: Parameter 999 was incorrect on entry to f.\n");
  EXPECT_EQ(report("f", 1000),
            "\nArvex QSL INTERNAL ERROR: Insufficient workspace available in function f.\n");
  EXPECT_EQ(report("f", 1001),
            "\nArvex QSL ERROR: Incompatible optional parameters on entry to f.\n");
  EXPECT_EQ(report("f", 1002), "\nArvex QSL ERROR: Parameter 1002 was incorrect on entry to f.\n");
  EXPECT_EQ(report("f", 1212), "\nArvex QSL INTERNAL ERROR: Issue accessing coprocessor f.\n");
  EXPECT_EQ(report("f", 1089),
            "\nArvex QSL INTERNAL ERROR: Not enough work memory in function f\n");
  EXPECT_EQ(report("f", 1090), "\nArvex QSL ERROR: Parameter 1090 was incorrect on entry to f.\n");
  EXPECT_EQ(report("f", 2147483647),
            "\nArvex QSL ERROR: Parameter 2147483647 was incorrect on entry to f.\n");
  EXPECT_EQ(report("f", 0), "\nArvex QSL INTERNAL ERROR: Condition 0 detected in function f.\n");
  EXPECT_EQ(report("f", -5), "\nArvex QSL INTERNAL ERROR: Condition 5 detected in function f.\n");
  EXPECT_EQ(report("f", -1000),
            "\nArvex QSL INTERNAL ERROR: Condition 1000 detected in function f.\n");
  EXPECT_EQ(report("f", -1212),
            "\nArvex QSL INTERNAL ERROR: Condition 1212 detected in function f.\n");
}

TEST_F(Xerbla, TheNameIsCutAt20Characters) {
  const std::string name = "ABCDEFGHIJKLMNOPQRSTUVWXY";
  for (int length : {19, 20, 21, 22, 25}) {
    const std::string shown = name.substr(0, static_cast<std::size_t>(length < 20 ? length : 20));
    EXPECT_EQ(report(name, 1, length),
              "\nArvex QSL ERROR: Parameter 1 was incorrect on entry to " + shown + ".\n");
  }
}

TEST_F(Xerbla, TheLengthDecidesNotTheZero) {
  const char name[] = {'D', 'G', 'E', 'M', 'M'};  // Fortran style: no zero
  const int info = 2;
  EXPECT_EQ(printed([&] { qsl_xerbla_print(name, &info, 5); }),
            "\nArvex QSL ERROR: Parameter 2 was incorrect on entry to DGEMM.\n");
  EXPECT_EQ(report("DGEMM", 2, 2),
            "\nArvex QSL ERROR: Parameter 2 was incorrect on entry to DG.\n");
  EXPECT_EQ(report("DGEMM", 2, 0), "\nArvex QSL ERROR: Parameter 2 was incorrect on entry to .\n");
  EXPECT_EQ(report("DGEMM", 2, -3), "\nArvex QSL ERROR: Parameter 2 was incorrect on entry to .\n");
  EXPECT_EQ(report("DGEMM", 2, 20),
            "\nArvex QSL ERROR: Parameter 2 was incorrect on entry to DGEMM.\n");
}

TEST_F(Xerbla, NullArgumentsPrintNothing) {
  const int info = 3;
  for (const auto reporter : {qsl_xerbla_print, qsl_xerbla}) {
    EXPECT_EQ(printed([&] { reporter(nullptr, &info, 5); }), "");
    EXPECT_EQ(printed([&] { reporter("DGEMM", nullptr, 5); }), "");
    EXPECT_EQ(printed([&] { reporter(nullptr, nullptr, 0); }), "");
  }
}

struct Hooked {
  std::string name;
  int info, length, calls;
} hooked;
void hook(const char* name, const int* info, int length) {
  hooked = {name, *info, length, hooked.calls + 1};
}
void second_hook(const char*, const int*, int) {}

TEST_F(Xerbla, WithoutAHookItPrints) {
  const int info = 4;
  EXPECT_EQ(qsl_xerbla_hook, nullptr);
  EXPECT_EQ(printed([&] { qsl_xerbla("DGETRF", &info, 6); }),
            "\nArvex QSL ERROR: Parameter 4 was incorrect on entry to DGETRF.\n");
}

TEST_F(Xerbla, AHookGetsTheArgumentsAsTheyAre) {
  const std::string name(40, 'n');
  const int info = -7;
  hooked = {};
  qsl_xerbla_hook = hook;
  EXPECT_EQ(printed([&] { qsl_xerbla(name.c_str(), &info, 40); }), "");
  EXPECT_EQ(hooked.calls, 1);
  EXPECT_EQ(hooked.name, name) << "not cut";
  EXPECT_EQ(hooked.info, -7);
  EXPECT_EQ(hooked.length, 40);
}

TEST_F(Xerbla, AHookIsNotCalledForNullArguments) {
  hooked = {};
  qsl_xerbla_hook = hook;
  const int info = 1;
  qsl_xerbla(nullptr, &info, 1);
  qsl_xerbla("f", nullptr, 1);
  EXPECT_EQ(hooked.calls, 0);
}

TEST_F(Xerbla, TheDefaultNeverReplacesAHook) {
  qsl_xerbla_set_default(qsl_xerbla_print);
  EXPECT_EQ(qsl_xerbla_hook, qsl_xerbla_print);
  qsl_xerbla_set_default(hook);
  EXPECT_EQ(qsl_xerbla_hook, qsl_xerbla_print);
  qsl_xerbla_hook = second_hook;
  qsl_xerbla_set_default(qsl_xerbla_print);
  EXPECT_EQ(qsl_xerbla_hook, second_hook);
}

TEST_F(Xerbla, CblasReport) {
  EXPECT_EQ(printed([] { qsl_cblas_report("cblas_dgemm", 9); }),
            "\nArvex QSL ERROR: Parameter 9 was incorrect on entry to cblas_dgemm.\n");
  EXPECT_EQ(qsl_xerbla_hook, qsl_xerbla_print) << "the default is installed";
  EXPECT_EQ(printed([] { qsl_cblas_report("a_name_of_more_than_twenty", 0); }),
            "\nArvex QSL INTERNAL ERROR: Condition 0 detected in function a_name_of_more_than_.\n");
  EXPECT_EQ(printed([] { qsl_cblas_report(nullptr, 1); }), "");
  EXPECT_EQ(printed([] { qsl_cblas_report_workspace("cblas_zgbmv"); }),
            "\nArvex QSL INTERNAL ERROR: Insufficient workspace available in function "
            "cblas_zgbmv.\n");
}

TEST_F(Xerbla, CblasReportCallsAHook) {
  hooked = {};
  qsl_xerbla_hook = hook;
  EXPECT_EQ(printed([] { qsl_cblas_report("cblas_dgemm", 9); }), "");
  EXPECT_EQ(hooked.name, "cblas_dgemm");
  EXPECT_EQ(hooked.info, 9);
  EXPECT_EQ(hooked.length, 11);
  qsl_cblas_report_workspace("cblas_zgbmv");
  EXPECT_EQ(hooked.info, 1000);
  EXPECT_EQ(hooked.calls, 2);
}

// --- Fatal exit ----------------------------------------------------------------------------------

class FatalExit : public Frame {};

TEST_F(FatalExit, CallsTheHandlerInstead) {
  static int calls, last;
  calls = 0;
  qsl_exit_handler = [](int code) {
    ++calls;
    last = code;
  };
  qsl_fatal_exit(3);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(last, 3);
}

TEST_F(FatalExit, EndsTheProcessWithTheCodeAndNoExitHandlers) {
  for (int code : {0, 1, 3, 77}) {
    int ended = -1;
    EXPECT_EQ(output_of_child("--exit " + std::to_string(code), &ended),
              "Arvex QSL ERROR: CPU 8 is not supported.\n");
    EXPECT_EQ(ended, code);
  }
}

[[noreturn]] void fatal_exit(int code) {
  std::atexit([] {
    std::puts("exit handler");
    std::fflush(stdout);
  });
  qsl_print_message(0, QSL_MSG_CPU_NOT_SUPPORTED, 1, 8);
  qsl_fatal_exit(code);
  std::abort();
}

// --- Formatted input and output ------------------------------------------------------------------

int format_count(char* buffer, std::size_t size, std::size_t count, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const int result = qsl_snprintf_count(buffer, size, count, format, args);
  va_end(args);
  return result;
}
int format_va(char* buffer, std::size_t size, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const int result = qsl_vsnprintf(buffer, size, format, args);
  va_end(args);
  return result;
}

TEST(Formatted, TextThatFits) {
  char buffer[16];
  EXPECT_EQ(qsl_snprintf(buffer, sizeof buffer, "%d %s %c", -3, "ab", 'z'), 7);
  EXPECT_STREQ(buffer, "-3 ab z");
  EXPECT_EQ(format_va(buffer, sizeof buffer, "%.2f|%5d", 1.005e2, 42), 12);
  EXPECT_STREQ(buffer, "100.50|   42");
  EXPECT_EQ(qsl_snprintf(buffer, 4, "%s", "abc"), 3) << "exactly";
  EXPECT_STREQ(buffer, "abc");
  EXPECT_EQ(qsl_snprintf(buffer, 1, "%s", ""), 0);
  EXPECT_STREQ(buffer, "");
}

TEST(Formatted, TextThatDoesNotFitIsCutAndTerminated) {
  for (std::size_t size = 1; size < 8; ++size) {
    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    qsl_snprintf(buffer, size, "%s", "0123456789");
    EXPECT_EQ(std::string(buffer), std::string("0123456789").substr(0, size - 1));
    for (std::size_t i = size; i < sizeof buffer; ++i) EXPECT_EQ(buffer[i], '#') << "size " << size;
    std::memset(buffer, '#', sizeof buffer);
    format_va(buffer, size, "%s", "0123456789");
    EXPECT_EQ(std::string(buffer), std::string("0123456789").substr(0, size - 1));
    for (std::size_t i = size; i < sizeof buffer; ++i) EXPECT_EQ(buffer[i], '#') << "size " << size;
  }
}

TEST(Formatted, ACountLimitsBesidesTheSize) {
  for (std::size_t size : {1u, 2u, 5u, 8u}) {
    for (std::size_t count : {0u, 1u, 4u, 5u, 7u, 8u, 9u, 100u}) {
      const std::size_t length = count < size - 1 ? count : size - 1;
      const std::string expected = std::string("0123456789").substr(0, length);
      char buffer[16];
      std::memset(buffer, '#', sizeof buffer);
      qsl_snprintf_capped(buffer, size, count, "%s", "0123456789");
      EXPECT_EQ(std::string(buffer), expected) << "size " << size << " count " << count;
      for (std::size_t i = size; i < sizeof buffer; ++i) EXPECT_EQ(buffer[i], '#');
      std::memset(buffer, '#', sizeof buffer);
      format_count(buffer, size, count, "%s", "0123456789");
      EXPECT_EQ(std::string(buffer), expected) << "size " << size << " count " << count;
      for (std::size_t i = size; i < sizeof buffer; ++i) EXPECT_EQ(buffer[i], '#');
    }
  }
}

TEST(Formatted, ACountThatIsNotReachedDoesNothing) {
  char buffer[16];
  EXPECT_EQ(qsl_snprintf_capped(buffer, sizeof buffer, 15, "%d", 12345), 5);
  EXPECT_STREQ(buffer, "12345");
  EXPECT_EQ(format_count(buffer, sizeof buffer, 100, "%d", 12345), 5);
  EXPECT_STREQ(buffer, "12345");
}

TEST(Formatted, Scan) {
  int a = 0, b = 0;
  EXPECT_EQ(qsl_sscanf("12 0x1f", "%d %i", &a, &b), 2);
  EXPECT_EQ(a, 12);
  EXPECT_EQ(b, 31);
  EXPECT_EQ(qsl_sscanf("010", "%i", &a), 1);
  EXPECT_EQ(a, 8);
  EXPECT_EQ(qsl_sscanf("08", "%i", &a), 1);
  EXPECT_EQ(a, 0);
  EXPECT_LE(qsl_sscanf("abc", "%i", &a), 0);
  EXPECT_LE(qsl_sscanf("", "%i", &a), 0);
}

TEST(Formatted, PrintIsFlushed) {
  EXPECT_EQ(printed([] { qsl_printf("%s %d", "text", 5); }), "text 5");
}

// --- Text buffer ---------------------------------------------------------------------------------

TEST(TextBuffer, AppendsPieces) {
  char buffer[32];
  qsl::TextBuffer text(buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "");
  text.append("%s", "one");
  text.append(" %d", 2);
  text.append("%s", "");
  text.append(" %.2f", 3.0);
  EXPECT_STREQ(buffer, "one 2 3.00");
}

TEST(TextBuffer, CutsAPieceThatDoesNotFitAndDropsTheRest) {
  for (std::size_t size = 1; size < 12; ++size) {
    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    qsl::TextBuffer text(buffer, size);
    text.append("%s", "012");
    text.append("%s", "345678");
    text.append("%s", "9ABCDEF");
    text.append("%d", 7);
    EXPECT_EQ(std::string(buffer), std::string("0123456789ABCDEF7").substr(0, size - 1));
    for (std::size_t i = size; i < sizeof buffer; ++i) EXPECT_EQ(buffer[i], '#') << size;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "--exit") == 0) fatal_exit(std::atoi(argv[2]));
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
