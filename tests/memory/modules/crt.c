/* Stand-in for a C runtime of the newer family, as a plug-in may bring one with it. It allocates
 * from the process heap and counts; the library asks it for nothing else here. */
#include <windows.h>

__declspec(dllexport) volatile LONG crt_live = 0;

void* standin_malloc(size_t size) {
  InterlockedIncrement(&crt_live);
  return HeapAlloc(GetProcessHeap(), 0, size);
}

void* standin_calloc(size_t count, size_t size) {
  InterlockedIncrement(&crt_live);
  return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, count * size);
}

void* standin_realloc(void* block, size_t size) {
  return HeapReAlloc(GetProcessHeap(), 0, block, size);
}

void standin_free(void* block) {
  InterlockedDecrement(&crt_live);
  HeapFree(GetProcessHeap(), 0, block);
}

int standin_unused(void) { return -1; }
