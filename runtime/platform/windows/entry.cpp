// The DLL's entry point.
#include "runtime/lifecycle.h"
#include "runtime/platform/windows/windows_api.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      qsl_process_attach();
      break;
    case DLL_THREAD_ATTACH:
      break;
    case DLL_THREAD_DETACH:
      qsl_thread_detach();
      break;
    case DLL_PROCESS_DETACH:
      qsl_process_detach(reserved != nullptr);
      break;
    default:
      break;
  }
  return TRUE;
}
