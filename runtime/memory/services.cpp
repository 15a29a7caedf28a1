#include "runtime/memory/services.h"

#include "include/qsl/memory.h"
#include "runtime/memory/memory.h"

extern "C" {
extern const qsl_memory_services qsl_mm_services = {QSL_malloc, nullptr, qsl_mm_allocate, QSL_free,
                                                    qsl_mm_deallocate};
}
