// A runnable block and its ports.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/export.h"
#include "core/type.h"

namespace tessel {

class ExecBlock;
class var_t;
struct lowering_t;

/// A typed port at run time. An output holds what its block computed; an input holds the last value that it pulled
/// from its source, converted to its own type by the rules of core/convert.h.
class ExecPort {
public:
    virtual ~ExecPort() = default;
    /// The output that feeds this input; null on outputs and on inputs that nothing feeds.
    virtual ExecPort* source() const noexcept = 0;
    virtual type_t type() const noexcept = 0;
    virtual void idle_hook() noexcept = 0;
    /// Address of the value cell, of the type that `type` tells; a boolean is one byte.
    virtual void* value_ptr() noexcept = 0;
    virtual void to_var(var_t& out) const noexcept = 0;
    virtual void to_flt64(double* out) const noexcept = 0;
    virtual void to_flt32(float* out) const noexcept = 0;
    virtual void to_uint64(std::uint64_t* out) const noexcept = 0;
    virtual void to_uint32(std::uint32_t* out) const noexcept = 0;
    virtual void to_uint16(std::uint16_t* out) const noexcept = 0;
    virtual void to_uint8(std::uint8_t* out) const noexcept = 0;
    virtual void to_int64(std::int64_t* out) const noexcept = 0;
    virtual void to_int32(std::int32_t* out) const noexcept = 0;
    virtual void to_int16(std::int16_t* out) const noexcept = 0;
    virtual void to_int8(std::int8_t* out) const noexcept = 0;
    virtual void to_bool(bool* out) const noexcept = 0;
    /// Feeds this input from output `index` of `block`; an index without a port leaves it unfed.
    virtual void connect(ExecBlock& block, std::uint16_t index) noexcept = 0;
    /// Where the port keeps its source, for a run to note something there while it has none; null for a class that
    /// keeps it otherwise. Only `PortNote` (exec/PortIndex.h) reads and writes the place: what it notes is no port.
    virtual ExecPort** source_place() noexcept { return nullptr; }
};

/// A block at run time. The model calls, in this order: `connect` on the inputs, `set_enable`, `zone`, `set_time` and
/// `start`, then for each time step `enabled`, `set_time`, `sample`, `step`, and in the end `finish`. Nothing here
/// throws; `sample` and `step` neither allocate nor lock.
class BLOCKS_API ExecBlock {
public:
    ExecBlock() noexcept = default;
    ExecBlock(std::uint64_t id, std::int32_t zone) noexcept { set_identity(id, zone); }
    ExecBlock(const ExecBlock&) = delete;
    ExecBlock& operator=(const ExecBlock&) = delete;
    virtual ~ExecBlock() = default;

    /// Whether the governing `enable` flag is set.
    virtual bool enabled() const noexcept;
    virtual std::uint64_t id() const noexcept;
    /// The design block's zone, until the first `set_time` overwrites the cell that both share.
    virtual std::int32_t zone() const noexcept;
    /// The port at a position of the flat list of ports, inputs before outputs; null when there is none.
    virtual ExecPort* input(std::int16_t index) noexcept = 0;
    virtual const ExecPort* input(std::int16_t index) const noexcept = 0;
    /// The port at position `index` + number of inputs of the same list; null when there is none.
    virtual ExecPort* output(std::int16_t index) noexcept = 0;
    virtual const ExecPort* output(std::int16_t index) const noexcept = 0;
    /// Copies the class's own record into the object.
    virtual void configure(const void* record) noexcept;
    virtual void set_enable(const bool* flag) noexcept;
    virtual void set_time(double t) noexcept;
    virtual void start() noexcept;
    virtual void finish() noexcept;
    /// Pulls every input.
    virtual void sample() noexcept = 0;
    /// Computes the outputs from the input cells, the state and the time.
    virtual void step() noexcept = 0;
    /// How a run may step this object without its virtual operations; null when it cannot.
    virtual const lowering_t* lowering() const noexcept;

    /// Sets id and zone of an object that was made without them.
    void set_identity(std::uint64_t id, std::int32_t zone) noexcept {
        id_ = id;
        clock_slot_ = static_cast<std::uint32_t>(zone);
    }

protected:
    /// The time of the current step in seconds, once `set_time` has been called.
    double time() const noexcept {
        double t;
        std::memcpy(&t, &clock_slot_, sizeof t);
        return t;
    }

private:
    std::uint64_t id_ = 0;
    std::uint64_t clock_slot_ = 0;  // the zone in the low four bytes, from the first set_time on the time
    const bool* enable_ = nullptr;
};

}  // namespace tessel
