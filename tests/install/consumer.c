/* Uses the installed header and library from plain C99. */
#include <kelsc.h>
#include <stdio.h>
#include <string.h>

int main(void) {
    const KelLibraryVersion* v = kelscGetLibVersion();
    Kel16s a[4] = {32767, -32768, 100, -5};
    Kel16s b[4] = {1, -1, 23, 5};
    Kel16s sum[4];
    Kel8u* block = kelsMalloc_8u(64);
    int ok = 1;

    if (v == NULL || strcmp(v->version, "5.1.1") != 0) ok = 0;
    if (kelsAdd_16s(a, b, sum, 4) != kelStatusOk) ok = 0;
    if (sum[0] != 32767 || sum[1] != -32768 || sum[2] != 123 || sum[3] != 0) ok = 0;
    if (kelsAdd_16s(NULL, b, sum, 4) != kelStatusNullPointer) ok = 0;
    if (block == NULL || ((size_t)block & 31u) != 0) ok = 0;
    kelsFree(block);
    printf("%s %s\n", v ? v->name : "?", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
