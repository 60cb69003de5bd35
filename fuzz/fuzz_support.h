// The shared machinery of the libFuzzer harnesses: one fuzzer input drives
// one call of one exported function. The harness picks the function, then
// asks a Call for each argument in order; the Call draws lengths, values and
// buffer contents from the fuzzer's bytes, sizes every buffer as a correct
// caller would (exactly, on the heap, so that AddressSanitizer sees any
// access past it), passes a null pointer now and then, and after the call
// checks the contract every function shares:
//  - the status is one of the library's documented codes;
//  - a null required pointer gives kelStatusNullPointer;
//  - on a negative status no output buffer was touched;
//  - a read-only buffer is never written.
#ifndef KELSC_FUZZ_FUZZ_SUPPORT_H
#define KELSC_FUZZ_FUZZ_SUPPORT_H

#include <fuzzer/FuzzedDataProvider.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <initializer_list>
#include <memory>
#include <vector>

#include "kelsc.h"

namespace kfuzz {

// Largest buffer a harness allocates, in elements: lengths beyond it are
// still passed (they must be rejected or handled), but only when the
// function's own limit is below it.
constexpr int kMaxLen = 1 << 14;

[[noreturn]] inline void fail(const char* what, const char* fn, int status) {
    fprintf(stderr, "kfuzz: %s: %s (status %d)\n", fn, what, status);
    abort();
}

inline bool documentedStatus(int s) {
    switch (s) {
        case kelStatusOk:
        case kelStatusOverflow:
        case kelStatusLsfLowClamped:
        case kelStatusLsfHighClamped:
        case kelStatusLsfBothClamped:
        case kelStatusInnerError:
        case kelStatusBadArgument:
        case kelStatusBadSize:
        case kelStatusOutOfRange:
        case kelStatusNullPointer:
        case kelStatusNoMemory:
        case kelStatusBadIndex:
        case kelStatusNegativeLsf:
        case kelStatusBadScale:
        case kelStatusBadFftOrder:
        case kelStatusBadFftFlag:
        case kelStatusBadContext:
        case kelStatusBadShift:
        case kelStatusIllConditioned:
        case kelStatusBadBandCount: return true;
        default: return false;
    }
}

class Call {
public:
    Call(FuzzedDataProvider& fdp, const char* name) : fdp_(fdp), name_(name) {}
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // A read-only buffer of n elements with fuzzer contents; null now and
    // then (the call must then fail with kelStatusNullPointer).
    template <class T>
    const T* in(long n) {
        return add<T>(n, Role::kInput, true);
    }
    // A buffer the function writes (or reads and writes): fuzzer contents,
    // watched for writes on failure.
    template <class T>
    T* out(long n) {
        return add<T>(n, Role::kOutput, true);
    }
    // A one-element in/out argument holding v (or null now and then).
    template <class T>
    T* outValue(T v) {
        T* p = add<T>(1, Role::kOutput, true);
        if (p != nullptr) {
            memcpy(p, &v, sizeof v);
            memcpy(bufs_.back().copy.get(), &v, sizeof v);
        }
        return p;
    }
    // A read-only buffer of n elements preceded by hist elements of history
    // (the samples a function reads before the pointer it is given).
    template <class T>
    const T* inAfter(long hist, long n) {
        const T* p = in<T>(hist + n);
        return p != nullptr ? p + hist : nullptr;
    }
    // The same for a buffer the function writes.
    template <class T>
    T* outAfter(long hist, long n) {
        T* p = out<T>(hist + n);
        return p != nullptr ? p + hist : nullptr;
    }
    // A read-only argument holding the given values (or null now and then).
    template <class T>
    const T* inValues(std::initializer_list<T> values) {
        T* p = add<T>(static_cast<long>(values.size()), Role::kInput, true);
        if (p != nullptr) {
            memcpy(p, values.begin(), values.size() * sizeof(T));
            memcpy(bufs_.back().copy.get(), values.begin(), values.size() * sizeof(T));
        }
        return p;
    }
    // As out, never null (for arguments the caller always passes, e.g. a
    // state block a harness set up itself).
    template <class T>
    T* outNonNull(long n) {
        return add<T>(n, Role::kOutput, false);
    }
    // An optional output: null is allowed and is not an error.
    template <class T>
    T* optional(long n) {
        const bool null = fdp_.ConsumeIntegralInRange<int>(0, 3) == 0;
        T* p = add<T>(n, Role::kOutput, false);
        return null ? nullptr : p;
    }
    // An optional read-only argument: null is allowed and is not an error.
    template <class T>
    const T* optionalIn(long n) {
        const bool null = fdp_.ConsumeIntegralInRange<int>(0, 3) == 0;
        const T* p = add<T>(n, Role::kInput, false);
        return null ? nullptr : p;
    }
    // Storage for a self-aligning state block of size bytes at a fuzzer-chosen
    // offset 0..15 from a 16-byte boundary; filled with fuzzer bytes when
    // arbitrary is set, else with a fixed pattern.
    Kel8u* state(long size, bool arbitrary) {
        const long offset = fdp_.ConsumeIntegralInRange<long>(0, 15);
        auto* raw = add<Kel8u>(size + offset, Role::kScratch, false);
        if (!arbitrary) memset(raw, 0xA5, static_cast<size_t>(size + offset));
        return raw + offset;
    }

    // A length whose valid range is 1..limit (1..kMaxLen when the function
    // has no limit of its own): mostly valid, sometimes 0, -1, INT_MIN, or
    // limit + 1 when the limit lies below kMaxLen.
    int length(int limit = INT_MAX) {
        const int top = limit < kMaxLen ? limit : kMaxLen;
        switch (fdp_.ConsumeIntegralInRange<int>(0, 15)) {
            case 0: return 0;
            case 1: return -1;
            case 2: return INT_MIN;
            case 3: return limit < kMaxLen ? limit + 1 : top;
            case 4: return top;
            default: return fdp_.ConsumeIntegralInRange<int>(1, top);
        }
    }
    // A value: one of the interesting ones, a neighbour of one, or any int.
    int value(std::initializer_list<int> interesting) {
        const int pick = fdp_.ConsumeIntegralInRange<int>(0, 7);
        if (pick == 7 || interesting.size() == 0) return fdp_.ConsumeIntegral<int>();
        const int base = interesting.begin()[fdp_.ConsumeIntegralInRange<size_t>(0, interesting.size() - 1)];
        if (pick == 5 && base > INT_MIN) return base - 1;
        if (pick == 6 && base < INT_MAX) return base + 1;
        return base;
    }
    // An arbitrary value of an integer type.
    template <class T>
    T any() {
        return fdp_.ConsumeIntegral<T>();
    }
    // An arbitrary float (NaN and infinities included).
    template <class T>
    T anyFloat() {
        T v;
        fill(&v, sizeof v);
        return v;
    }
    // Element count for a buffer sized from a length argument.
    static long count(long len) { return len > 0 && len <= kMaxLen + 1 ? len : 0; }

    bool hasNull() const { return nullArg_; }

    // Checks the shared contract after the call. expectNull: a null
    // required pointer must have given kelStatusNullPointer. partialStatus:
    // a negative status after which the function's documented partial
    // output may be there (0: none).
    void finish(int status, bool expectNull = true, int partialStatus = 0) {
        if (!documentedStatus(status)) fail("undocumented status", name_, status);
        if (expectNull && nullArg_ && status != kelStatusNullPointer)
            fail("null pointer not reported first", name_, status);
        for (const Buffer& b : bufs_) {
            if (b.role == Role::kScratch) continue;
            const bool mustKeep = b.role == Role::kInput || (status < 0 && status != partialStatus);
            if (mustKeep && b.size != 0 && memcmp(b.data.get(), b.copy.get(), b.size) != 0)
                fail(b.role == Role::kInput ? "read-only buffer written" : "output written on failure", name_, status);
        }
    }

private:
    enum class Role { kInput, kOutput, kScratch };
    struct Buffer {
        std::unique_ptr<unsigned char[]> data, copy;
        size_t size;
        Role role;
    };

    void fill(void* p, size_t n) {
        const std::vector<unsigned char> bytes = fdp_.ConsumeBytes<unsigned char>(n);
        if (n == 0) return;
        if (!bytes.empty()) memcpy(p, bytes.data(), bytes.size());
        memset(static_cast<unsigned char*>(p) + bytes.size(), 0, n - bytes.size());
    }

    template <class T>
    T* add(long n, Role role, bool mayBeNull) {
        if (mayBeNull && fdp_.ConsumeIntegralInRange<int>(0, 31) == 0) {
            nullArg_ = true;
            return nullptr;
        }
        const size_t size = static_cast<size_t>(n > 0 ? n : 0) * sizeof(T);
        Buffer b{std::unique_ptr<unsigned char[]>(new unsigned char[size]),
                 std::unique_ptr<unsigned char[]>(new unsigned char[size]), size, role};
        fill(b.data.get(), size);
        if (size != 0) memcpy(b.copy.get(), b.data.get(), size);
        T* p = reinterpret_cast<T*>(b.data.get());
        bufs_.push_back(std::move(b));
        return p;
    }

    FuzzedDataProvider& fdp_;
    const char* name_;
    std::vector<Buffer> bufs_;
    bool nullArg_ = false;
};

// One entry of a harness's function table.
struct Entry {
    const char* name;
    void (*run)(FuzzedDataProvider&);
};

// Runs the entry the first byte selects.
template <size_t N>
int dispatch(const Entry (&table)[N], const uint8_t* data, size_t size) {
    FuzzedDataProvider fdp(data, size);
    const size_t i = fdp.ConsumeIntegralInRange<size_t>(0, N - 1);
    table[i].run(fdp);
    return 0;
}

}  // namespace kfuzz

// Declares a table entry whose body sees `c` (a kfuzz::Call named after the
// function) and `fdp`.
#define KFUZZ_ENTRY(fn, ...)                                   \
    {                                                          \
#fn, [](FuzzedDataProvider& fdp) {                           \
            kfuzz::Call c(fdp, #fn);                                 \
            (void)fdp;                                               \
            __VA_ARGS__                                              \
        } \
    }

#endif  // KELSC_FUZZ_FUZZ_SUPPORT_H
