// Argument checking shared by every exported function.
//
// Every exported function validates its arguments in one order: required
// pointers, then lengths, then value arguments in argument order, then a
// state block's identity tag, then allocation. The first failure wins. The
// order is written down once per function as a chain:
//
//     KEL_CHECK(kel::Args().ptr(pSrc, pDst).len(len).scale(sf >= 0));
//
// Each link only tests when no earlier link failed, so the chain reads in the
// order the checks run. A function with a deliberate exception to the order
// simply writes its links in that other order.
#ifndef KELSC_CORE_CHECK_H
#define KELSC_CORE_CHECK_H

#include "kelsc.h"

namespace kel {

class Args {
public:
    constexpr Args() = default;

    // Required pointers: any null gives kelStatusNullPointer.
    template <typename... P>
    constexpr Args& ptr(const P*... p) {
        if (status_ == kelStatusOk && ((p == nullptr) || ...)) status_ = kelStatusNullPointer;
        return *this;
    }

    // A length below its minimum (1 unless stated) gives kelStatusBadSize.
    constexpr Args& len(int n, int minimum = 1) { return require(n >= minimum, kelStatusBadSize); }

    // A scale factor outside the function's range gives kelStatusBadScale.
    constexpr Args& scale(bool ok) { return require(ok, kelStatusBadScale); }

    // A shift count below zero gives kelStatusBadShift.
    constexpr Args& shift(int n) { return require(n >= 0, kelStatusBadShift); }

    // Any other condition with its own status.
    constexpr Args& require(bool ok, KelStatus failure) {
        if (status_ == kelStatusOk && !ok) status_ = failure;
        return *this;
    }

    constexpr KelStatus status() const { return status_; }

private:
    KelStatus status_ = kelStatusOk;
};

}  // namespace kel

// Returns the first failed check's status from the enclosing function.
#define KEL_CHECK(chain)                                            \
    do {                                                            \
        const KelStatus kelCheckStatus_ = (chain).status();         \
        if (kelCheckStatus_ != kelStatusOk) return kelCheckStatus_; \
    } while (0)

#endif  // KELSC_CORE_CHECK_H
