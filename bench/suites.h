// The suites, one for each source named after what it drives.
#pragma once

#include "bench/ratio_table.h"

namespace bench {

void AddThreeAxisCreator(Suite& suite);
void AddFourAxisCreator(Suite& suite);
void AddFiveAxisCreator(Suite& suite);
void AddFacade(Suite& suite);

}  // namespace bench
