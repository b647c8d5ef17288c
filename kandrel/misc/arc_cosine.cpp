#include <kandrel/misc/arc_cosine.h>

namespace misc::detail {

// (asin(s) / s - 1) / z in powers of z = s^2: the polynomial of degree 11 that meets it at the
// zeros of the Chebyshev polynomial over [0, 1/4], worked out from the power series in 60 digits.
// The arc sine is off by 5.8e-17 of itself at most.
const Lanes kArcSineExcess[12] = {
    Spread(0.1666666666666665),   Spread(0.07500000000020764),   Spread(0.044642857103423646),
    Spread(0.03038194736709848),  Spread(0.02237204763174451),   Spread(0.017355259955786323),
    Spread(0.013929652902326633), Spread(0.011875494382636922),  Spread(0.0078029494773533175),
    Spread(0.01603551434914882),  Spread(-0.010749050339697808), Spread(0.028169218060881414)};

}  // namespace misc::detail
