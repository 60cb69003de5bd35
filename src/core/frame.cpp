// Library frame: the version record and the aligned allocator.
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "kelsc.h"

#ifndef KELSC_LIBRARY_FILE_NAME
#error "the build defines KELSC_LIBRARY_FILE_NAME (the produced shared object's file name)"
#endif

namespace {

constexpr KelLibraryVersion kVersion = {
    5, 1, 133, 245, {'p', 'x', 0, 0}, KELSC_LIBRARY_FILE_NAME, "5.1.1", "Jun 17 2006",
};

// The aligned block starts at the first 32-byte boundary that leaves room
// for the raw pointer in front of it: raw + sizeof(void*) rounded up to 32.
// With 4-byte pointers this is raw + 35 rounded down to 32, from a request
// of len + 36 bytes, the allocator's 32-bit x86 definition; with 8-byte
// pointers the stored pointer is wider and the request len + 40.
constexpr uintptr_t kAlign = 32;
constexpr size_t kSlack = kAlign + sizeof(void*);

}  // namespace

const KelLibraryVersion* kelscGetLibVersion(void) { return &kVersion; }

Kel8u* kelsMalloc_8u(int len) {
    if (len < 1) return nullptr;
    void* raw = malloc(static_cast<size_t>(len) + kSlack);
    if (raw == nullptr) return nullptr;
    const uintptr_t base = reinterpret_cast<uintptr_t>(raw) + sizeof(void*);
    const uintptr_t aligned = (base + kAlign - 1) & ~(kAlign - 1);
    Kel8u* p = reinterpret_cast<Kel8u*>(aligned);
    memcpy(p - sizeof(void*), &raw, sizeof(void*));
    return p;
}

void kelsFree(void* ptr) {
    if (ptr == nullptr) return;
    void* raw = nullptr;
    memcpy(&raw, static_cast<Kel8u*>(ptr) - sizeof(void*), sizeof(void*));
    free(raw);
}
