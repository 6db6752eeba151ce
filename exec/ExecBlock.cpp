#include "ExecBlock.h"

namespace tessel {

bool ExecBlock::enabled() const noexcept { return *enable_; }
std::uint64_t ExecBlock::id() const noexcept { return id_; }
std::int32_t ExecBlock::zone() const noexcept { return static_cast<std::int32_t>(clock_slot_); }
void ExecBlock::configure(const void*) noexcept {}
void ExecBlock::set_enable(const bool* flag) noexcept { enable_ = flag; }
void ExecBlock::set_time(double t) noexcept { std::memcpy(&clock_slot_, &t, sizeof t); }
void ExecBlock::start() noexcept {}
void ExecBlock::finish() noexcept {}
const lowering_t* ExecBlock::lowering() const noexcept { return nullptr; }

}  // namespace tessel
