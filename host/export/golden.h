// The first steps of a run, as a program is tested with them.
#pragma once

#include "IExecModel.h"
#include "coder/exact/project.h"

namespace zarn {

/// Runs the runnable model of which a unit was made for some steps. Root inports are fed with numbers that go up and
/// down; inputs of a part get what crosses its border.
tessel::exact::golden_t record_golden(const tessel::exact::unit_t& unit, tessel::IExecModel& exec);

}  // namespace zarn
