// Constant tables of GSM 06.10 full rate (RPE-LTP): the values of the
// Recommendation's tables in section 4.4.
#include "gsmfr_tables.h"

namespace kel::gsmfr {

// Table 4.4: coefficients of the weighting filter, H[i] = integer(real_H[i] * 8192).
const Kel16s kWeightingFilter[kWeightingTaps] = {-134, -374, 0, 2054, 5741, 8192, 5741, 2054, 0, -374, -134};

}  // namespace kel::gsmfr
