// Three pages: inaccessible, data, inaccessible. A block is placed either
// at the start of the data page or at its end, so that any access before
// or after it faults.
#ifndef KELSC_TESTS_GUARDED_PAGES_H
#define KELSC_TESTS_GUARDED_PAGES_H

#include <stddef.h>
#include <sys/mman.h>
#include <unistd.h>

namespace kelsc_test {

class GuardedPages {
public:
    GuardedPages() {
        page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        void* p = mmap(nullptr, 3 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        base_ = p == MAP_FAILED ? nullptr : static_cast<char*>(p);
        if (base_) {
            mprotect(base_, page_, PROT_NONE);
            mprotect(base_ + 2 * page_, page_, PROT_NONE);
        }
    }
    ~GuardedPages() {
        if (base_) munmap(base_, 3 * page_);
    }
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;

    bool ok() const { return base_ != nullptr; }
    size_t pageBytes() const { return page_; }
    template <typename T = short>
    T* atStart() {
        return reinterpret_cast<T*>(base_ + page_);
    }
    template <typename T = short>
    T* atEnd(size_t n) {
        return reinterpret_cast<T*>(base_ + 2 * page_) - n;
    }

private:
    size_t page_ = 0;
    char* base_ = nullptr;
};

}  // namespace kelsc_test

#endif  // KELSC_TESTS_GUARDED_PAGES_H
