// The shared library loaded and unloaded again and again, with and without other threads that used
// it.
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>
#include <vector>
#endif

namespace {

class Library {
 public:
#ifdef _WIN32
  Library() : handle_(LoadLibraryA(QSL_LIBRARY)) {}
  ~Library() { FreeLibrary(handle_); }
  void* symbol(const char* name) const {
    return reinterpret_cast<void*>(GetProcAddress(handle_, name));
  }
  static bool is_loaded() { return GetModuleHandleA(QSL_LIBRARY) != nullptr; }
#else
  Library() : handle_(dlopen(QSL_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {}
  ~Library() { dlclose(handle_); }
  void* symbol(const char* name) const { return dlsym(handle_, name); }
  static bool is_loaded() {
    void* handle = dlopen(QSL_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
  }
#endif
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // Reaches all that the memory manager makes for a thread.
  void use() const {
    using Malloc = void* (*)(std::size_t, int);
    using Free = void (*)(void*);
    const Malloc allocate = reinterpret_cast<Malloc>(symbol("QSL_malloc"));
    const Free release = reinterpret_cast<Free>(symbol("QSL_free"));
    ASSERT_NE(allocate, nullptr);
    ASSERT_NE(release, nullptr);
    void* p = allocate(1000, 64);
    ASSERT_NE(p, nullptr);
    release(p);
  }

 private:
#ifdef _WIN32
  HMODULE handle_;
#else
  void* handle_;
#endif
};

// Address space in use, in KiB.
long mapped() {
#ifdef _WIN32
  MEMORYSTATUS status;
  status.dwLength = sizeof status;
  GlobalMemoryStatus(&status);
  return static_cast<long>((status.dwTotalVirtual - status.dwAvailVirtual) / 1024);
#else
  long pages = 0;
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr || std::fscanf(file, "%ld", &pages) != 1) pages = 0;
  if (file != nullptr) std::fclose(file);
  return pages * (sysconf(_SC_PAGESIZE) / 1024);
#endif
}

// Thread-local slots that can still be had.
int free_slots() {
#ifdef _WIN32
  int count = 0;
  DWORD slots[2000];
  while (count < 2000 && (slots[count] = TlsAlloc()) != TLS_OUT_OF_INDEXES) ++count;
  for (int i = 0; i < count; ++i) TlsFree(slots[i]);
  return count;
#else
  std::vector<pthread_key_t> keys;
  pthread_key_t key;
  while (pthread_key_create(&key, nullptr) == 0) keys.push_back(key);
  for (pthread_key_t each : keys) pthread_key_delete(each);
  return static_cast<int>(keys.size());
#endif
}

// A thread that does what it is told and then waits.
class Worker {
 public:
  Worker() : thread_([this] { run(); }) {}
  ~Worker() {
    call(nullptr);
    thread_.join();
  }
  void call(const std::function<void()>& task) {
    std::unique_lock<std::mutex> lock(mutex_);
    task_ = task;
    pending_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !pending_; });
  }

 private:
  void run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return pending_; });
      const bool last = task_ == nullptr;
      if (!last) task_();
      pending_ = false;
      changed_.notify_all();
      if (last) return;
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::function<void()> task_;
  bool pending_ = false;
  std::thread thread_;
};

constexpr int kWarmUp = 50;
#ifdef __SANITIZE_ADDRESS__
// The sanitizer keeps what is freed, and a shadow of every library that was ever loaded.
constexpr int kLoads = 50;
constexpr long kSlack = 1 << 30;
#elif defined(_WIN32)
// A load is slow under Wine, whose loader keeps a little of its own each time (up to 2 MB were
// seen). A table or a heap left behind each time would be more than 6 MB, and shows all the same.
constexpr int kLoads = 100;
constexpr long kSlack = 4096;
#else
constexpr int kLoads = 1000;
// The C library's own caches may move a little.
constexpr long kSlack = 1024;
#endif

template <typename Use>
void load_many_times(const Use& use) {
  long before = 0;
  int slots = 0;
  for (int i = 0; i < kWarmUp + kLoads; ++i) {
    if (i == kWarmUp) {
      before = mapped();
      slots = free_slots();
    }
    {
      Library library;
      use(library);
    }
    if (i == 0) {
      ASSERT_FALSE(Library::is_loaded()) << "it stayed in memory";
    }
  }
  EXPECT_LT(mapped() - before, kSlack);
  EXPECT_EQ(free_slots(), slots);
}

TEST(Load, ByItself) {
  load_many_times([](const Library&) {});
}

TEST(Load, UsedInTheLoadingThread) {
  load_many_times([](const Library& library) { library.use(); });
}

TEST(Load, UsedInAThreadThatEnds) {
  load_many_times([](const Library& library) { std::thread([&] { library.use(); }).join(); });
}

TEST(Load, UsedInAThreadThatOutlivesTheLibrary) {
  Worker worker;
  load_many_times([&](const Library& library) { worker.call([&] { library.use(); }); });
}  // the thread ends here, without the library

TEST(Load, ThreadsThatEndAfterwards) {
  for (int i = 0; i < 100; ++i) {
    Worker worker;
    Library library;
    worker.call([&] { library.use(); });
  }
  for (int i = 0; i < 100; ++i) {
    Worker first, second;
    {
      Library library;
      first.call([&] { library.use(); });
      second.call([&] { library.use(); });
      library.use();
    }
    Library again;
    second.call([&] { again.use(); });
  }
}

}  // namespace
