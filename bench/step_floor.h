// The floor of the step loop: objects with virtual operations and nothing else. Defined in a source of their own, where
// the loop cannot see them: a compiler that could would call them directly.
#pragma once

namespace bench {

class Value {
public:
    virtual ~Value() = default;
    virtual void copy(double* out) const noexcept = 0;
};

class Cell final : public Value {
public:
    void copy(double* out) const noexcept override;

    Value* source = nullptr;
    double value = 0.0;
};

class Object {
public:
    virtual ~Object() = default;
    virtual bool enabled() const noexcept = 0;
    virtual void set_time(double t) noexcept = 0;
    virtual void sample() noexcept = 0;
    virtual void step() noexcept = 0;
};

class AddObject final : public Object {
public:
    bool enabled() const noexcept override;
    void set_time(double t) noexcept override;
    void sample() noexcept override;
    void step() noexcept override;

    const bool* flag = nullptr;
    double time = 0.0;
    Cell in0, in1, out;
};

}  // namespace bench
