/* A stand-in for the analysis tool's library: it counts. */
#if defined(_WIN32)
#define EXPORT __declspec(dllexport)
#else
#define EXPORT __attribute__((visibility("default")))
#endif

static volatile int pushes, pops, last_mask, depth, lowest;

EXPORT void __itt_suppress_push(unsigned mask) {
  last_mask = (int)mask;
  __sync_fetch_and_add(&pushes, 1);
  __sync_fetch_and_add(&depth, 1);
}

EXPORT void __itt_suppress_pop(void) {
  __sync_fetch_and_add(&pops, 1);
  if (__sync_sub_and_fetch(&depth, 1) < 0) lowest = -1;
}

EXPORT void standin_counts(int counts[4]) {
  counts[0] = pushes;
  counts[1] = pops;
  counts[2] = last_mask;
  counts[3] = lowest;
}
