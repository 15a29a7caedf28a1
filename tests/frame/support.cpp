#include "tests/frame/support.h"

#include <atomic>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <thread>

#ifdef _WIN32
#include <fcntl.h>
#include <sys/stat.h>

#include "runtime/platform/windows/late_crt.h"
#include "runtime/platform/windows/windows_api.h"
#else
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace frame_test {
namespace {

const char* const kVariables[] = {"QSL_CBWR",
                                  "QSL_DEBUG_CPU_TYPE",
                                  "QSL_ENABLE_INSTRUCTIONS",
                                  "QSL_DISABLE_FAST_MM",
                                  "QSL_FAST_MEMORY_LIMIT",
                                  "QSL_VERBOSE",
                                  "QSL_VERBOSE_OUTPUT_FILE",
                                  "QSL_NUM_THREADS",
                                  "QSL_NUM_STRIPES",
                                  "QSL_DOMAIN_NUM_THREADS",
                                  "OMP_NUM_THREADS",
                                  "QSL_DYNAMIC",
                                  "QSL_MPI_PPN",
                                  "A_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE",
                                  "A_MPI_PIN_MAPPING",
                                  "OMPI_COMM_WORLD_LOCAL_SIZE",
                                  "MPI_LOCALNRANKS",
                                  "A_MPI_THREAD_LEVEL"};

std::string read_all(std::FILE* file) {
  std::string text;
  char piece[4096];
  for (std::size_t count; (count = std::fread(piece, 1, sizeof piece, file)) > 0;) {
    text.append(piece, count);
  }
  return text;
}

std::jmp_buf before_exit;
int exit_code;
int lock_at_exit;

void leave(int code) {
  exit_code = code;
  lock_at_exit = qsl_init_lock;
  std::longjmp(before_exit, 1);
}

}  // namespace

void clear_variables() {
  for (const char* name : kVariables) set_variable(name, nullptr);
}

#ifdef _WIN32

void set_variable(const char* name, const char* value) { SetEnvironmentVariableA(name, value); }

namespace {

// The C runtime that the library prints through need not be the one of this program.
template <typename Function>
Function* library_crt(const char* name) {
  return reinterpret_cast<Function*>(
      qsl::platform::module_symbol(qsl::platform::late_crt_module(), name));
}

}  // namespace

std::string printed(const std::function<void()>& function) {
  char folder[MAX_PATH], path[MAX_PATH];
  GetTempPathA(sizeof folder, folder);
  GetTempFileNameA(folder, "qsl", 0, path);
  const auto dup_fd = library_crt<int(int)>("_dup");
  const auto dup2_fd = library_crt<int(int, int)>("_dup2");
  const auto open_fd = library_crt<int(const char*, int, ...)>("_open");
  const auto close_fd = library_crt<int(int)>("_close");
  const int saved = dup_fd(1);
  const int file = open_fd(path, _O_CREAT | _O_TRUNC | _O_WRONLY | _O_TEXT, _S_IREAD | _S_IWRITE);
  dup2_fd(file, 1);
  close_fd(file);
  function();
  dup2_fd(saved, 1);
  close_fd(saved);
  std::FILE* back = std::fopen(path, "r");
  const std::string text = read_all(back);
  std::fclose(back);
  DeleteFileA(path);
  return text;
}

std::string program_path() {
  char path[MAX_PATH];
  GetModuleFileNameA(nullptr, path, sizeof path);
  return path;
}

std::string program_folder() {
  const std::string path = program_path();
  return path.substr(0, path.find_last_of("\\/"));
}

std::string output_of_child(const std::string& argument, int* exit_code) {
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  HANDLE reader, writer;
  if (!CreatePipe(&reader, &writer, &inherited, 0)) return "no pipe";
  STARTUPINFOA start = {};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdOutput = writer;
  start.hStdError = writer;
  PROCESS_INFORMATION child = {};
  std::string command = "\"" + program_path() + "\" " + argument;
  std::string text;
  if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                     &child)) {
    CloseHandle(writer);
    char piece[4096];
    DWORD count = 0;
    while (ReadFile(reader, piece, sizeof piece, &count, nullptr) && count > 0) {
      for (DWORD i = 0; i < count; ++i) {
        if (piece[i] != '\r') text += piece[i];
      }
    }
    WaitForSingleObject(child.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(child.hProcess, &code);
    if (exit_code != nullptr) *exit_code = static_cast<int>(code);
    CloseHandle(child.hProcess);
    CloseHandle(child.hThread);
  } else {
    CloseHandle(writer);
    text = "no process";
  }
  CloseHandle(reader);
  return text;
}

#else

void set_variable(const char* name, const char* value) {
  if (value == nullptr) {
    unsetenv(name);
  } else {
    setenv(name, value, 1);
  }
}

std::string printed(const std::function<void()>& function) {
  std::fflush(stdout);
  std::FILE* file = std::tmpfile();
  const int saved = dup(1);
  dup2(fileno(file), 1);
  function();
  // Not flushed here: what the library prints, it flushes.
  std::rewind(file);
  const std::string text = read_all(file);
  std::fflush(stdout);
  dup2(saved, 1);
  close(saved);
  std::fclose(file);
  return text;
}

std::string program_path() {
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return std::string(path, length > 0 ? static_cast<std::size_t>(length) : 0);
}

std::string program_folder() {
  const std::string path = program_path();
  return path.substr(0, path.find_last_of('/'));
}

std::string output_of_child(const std::string& argument, int* exit_code) {
  std::FILE* pipe = popen(("'" + program_path() + "' " + argument).c_str(), "r");
  if (pipe == nullptr) return "no process";
  const std::string text = read_all(pipe);
  const int status = pclose(pipe);
  if (exit_code != nullptr) *exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return text;
}

#endif

void race(int threads, const std::function<void()>& function) {
  std::atomic<int> waiting{threads};
  std::vector<std::thread> all;
  for (int i = 0; i < threads; ++i) {
    all.emplace_back([&] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      function();
    });
  }
  for (std::thread& thread : all) thread.join();
}

int exit_code_of(const std::function<void()>& function) {
  exit_code = kReturned;
  qsl_exit_handler = leave;
  if (setjmp(before_exit) == 0) function();
  qsl_exit_handler = nullptr;
  return exit_code;
}

int init_lock_at_exit() { return lock_at_exit; }

void Frame::reset() {
  clear_variables();
  qsl_cpu_type_cached = -1;
  qsl_debug_cpu_state = -1;
  qsl_debug_cpu_value = 0;
  qsl_enable_parsed = 0;
  qsl_enable_level = -1;
  qsl_enable_sse42 = qsl_enable_avx = qsl_enable_avx2 = qsl_enable_avx512 = 1;
  qsl_enable_mic = qsl_enable_mic_e1 = 1;
  qsl_cbwr_mode = 0;
  qsl_cbwr_read = -1;
  qsl_is_genuine = qsl_is_amd = qsl_has_fma4 = qsl_is_mic_e1 = -1;
  qsl_cpu_features = 0;
  qsl_init_lock = 0;
  qsl_getenv_guard = 0;
  qsl_exit_handler = nullptr;
  qsl_xerbla_hook = nullptr;
}

}  // namespace frame_test
