#include "host/session/recorder.h"

#include <algorithm>
#include <new>

#include "exec/Port.h"
#include "exec/lowering.h"
#include "host/session/json_text.h"

namespace zarn {
namespace {

/// Values in pieces that double in size up to a limit: no value is ever moved, and few values take little memory.
template <class T>
class TypedRecording final : public Recording {
public:
    struct chunk_t {
        std::unique_ptr<T[]> values;
        std::size_t count;
    };

    tessel::type_t type() const noexcept override { return tessel::type_of<T>; }

    explicit TypedRecording(run_clock_t& clock) : Recording(clock) {}

    void add(T value) noexcept {
        if (next_ == end_ || clock_->step != expected_) {
            if (!make_room()) return;
        }
        T* const next = static_cast<T*>(next_);
        *next = value;
        // more recordings than the processor follows by itself: the line that comes next is on its way in good time
        __builtin_prefetch(static_cast<const char*>(next_) + 64, 1);
        next_ = next + 1;
        ++expected_;
    }

    std::vector<chunk_t> const& chunks() const noexcept { return chunks_; }

    void for_each_piece(const use_t& use) const override {
        std::uint64_t left = size();
        for (std::size_t i = 0; left != 0; ++i) {
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(chunks_[i].count, left));
            use(chunks_[i].values.get(), count);
            left -= count;
        }
    }
    void expect(std::uint64_t count) override {
        if (count == 0 || !chunks_.empty()) return;
        add_chunk(static_cast<std::size_t>(count));
        expected_ = ~std::uint64_t{0};  // the first value begins a stretch
    }
    values_t take() override {
        const std::uint64_t count = size();
        if (count == 0) return {};
        std::shared_ptr<T[]> values;
        if (chunks_[0].count >= count) {
            values = std::move(chunks_[0].values);
        } else {
            values.reset(new T[count]);
            T* next = values.get();
            for_each_piece([&next](const void* piece, std::size_t n) {
                next = std::copy_n(static_cast<const T*>(piece), n, next);
            });
        }
        chunks_.clear();
        next_ = end_ = nullptr;
        return {values, values.get(), count};
    }
    void forget() noexcept override {
        stretches_.clear();
        expected_ = 0;
        if (!chunks_.empty()) fill(0);
    }

private:
    static constexpr std::size_t first_chunk = 16;
    static constexpr std::size_t last_chunk = 65536;

    bool make_room() noexcept {
        try {
            if (next_ == end_ && filling_ + 1 < chunks_.size()) {
                fill(filling_ + 1);
            } else if (next_ == end_) {
                const std::size_t count =
                    chunks_.empty() ? first_chunk : std::min(chunks_.back().count * 2, last_chunk);
                add_chunk(count);
            }
            if (stretches_.empty() || clock_->step != expected_) begin_stretch();
            return true;
        } catch (const std::bad_alloc&) {
            clock_->exhausted = true;
            return false;
        }
    }

    void add_chunk(std::size_t count) {
        if (clock_->room.fetch_sub(static_cast<std::int64_t>(count * sizeof(T))) < 0) throw std::bad_alloc();
        chunks_.push_back({std::unique_ptr<T[]>(new T[count]), count});
        fill(chunks_.size() - 1);
    }

    void fill(std::size_t chunk) noexcept {
        filling_ = chunk;
        next_ = chunks_[chunk].values.get();
        end_ = chunks_[chunk].values.get() + chunks_[chunk].count;
    }

    std::vector<chunk_t> chunks_;
    std::size_t filling_ = 0;
};

template <class T>
class TypedReader final : public Reader {
public:
    explicit TypedReader(const TypedRecording<T>& recording)
        : recording_(recording), stretches_(recording.stretches()) {}

    bool has(std::uint64_t step) noexcept override {
        while (stretch_ < stretches_.size() && step >= stretches_[stretch_].first + stretches_[stretch_].count)
            ++stretch_;
        return stretch_ < stretches_.size() && step >= stretches_[stretch_].first;
    }
    void append(std::string& text) override { append_number(text, next(), "\""); }
    void append_plain(std::string& text) override { append_number(text, next()); }

private:
    T next() {
        const auto& chunks = recording_.chunks();
        if (at_ == chunks[chunk_].count) {
            ++chunk_;
            at_ = 0;
        }
        return chunks[chunk_].values[at_++];
    }

    const TypedRecording<T>& recording_;
    std::vector<stretch_t> stretches_;
    std::size_t stretch_ = 0;
    std::size_t chunk_ = 0;
    std::size_t at_ = 0;
};

template <class T>
class TypedProbe final : public Probe {
public:
    explicit TypedProbe(run_clock_t& clock) : recording_(clock) {}

    const Recording& recording() const noexcept override { return recording_; }
    Recording& recording() noexcept override { return recording_; }
    std::unique_ptr<Reader> reader() const override { return std::make_unique<TypedReader<T>>(recording_); }
    tessel::ExecPort& port() noexcept override { return in0_; }

    tessel::ExecPort* input(std::int16_t index) noexcept override { return index == 0 ? &in0_ : nullptr; }
    const tessel::ExecPort* input(std::int16_t index) const noexcept override { return index == 0 ? &in0_ : nullptr; }
    tessel::ExecPort* output(std::int16_t index) noexcept override { return index == -1 ? &in0_ : nullptr; }
    const tessel::ExecPort* output(std::int16_t index) const noexcept override { return index == -1 ? &in0_ : nullptr; }
    void sample() noexcept override { in0_.pull(); }
    void step() noexcept override { recording_.add(in0_.value); }
    const tessel::lowering_t* lowering() const noexcept override { return &lowered; }

private:
    static void run(const void* const* operands, std::size_t count, double) noexcept {
        for (; count != 0; --count, operands += 2) {
            auto& probe = *static_cast<TypedProbe*>(static_cast<ExecBlock*>(const_cast<void*>(operands[0])));
            probe.recording_.add(*static_cast<const T*>(operands[1]));
        }
    }
    static constexpr tessel::lowering_t lowered{&TypedProbe::run, 1, true, false};

    tessel::Port<T> in0_;
    TypedRecording<T> recording_;
};

template <class... T>
std::unique_ptr<Probe> make_probe_of(tessel::type_t type, run_clock_t& clock, tessel::type_list<T...>) {
    std::unique_ptr<Probe> probe;
    const auto make = [&]<class V>(V) {
        if (tessel::type_of<V> == type) probe = std::make_unique<TypedProbe<V>>(clock);
    };
    (make(T{}), ...);
    return probe;
}

}  // namespace

void Recording::begin_stretch() {
    if (!stretches_.empty()) stretches_.back().count = expected_ - stretches_.back().first;
    if (stretches_.size() == stretches_.capacity() &&
        clock_->room.fetch_sub(static_cast<std::int64_t>((stretches_.size() + 1) * sizeof(stretch_t))) < 0)
        throw std::bad_alloc();
    stretches_.push_back({clock_->step, 0});
    expected_ = clock_->step;
}

std::vector<stretch_t> Recording::stretches() const {
    auto all = stretches_;
    if (!all.empty()) all.back().count = expected_ - all.back().first;
    return all;
}

std::uint64_t Recording::size() const noexcept {
    if (stretches_.empty()) return 0;
    std::uint64_t count = expected_ - stretches_.back().first;
    for (std::size_t i = 0; i + 1 < stretches_.size(); ++i) count += stretches_[i].count;
    return count;
}

bool Recording::is_complete(std::uint64_t first, std::uint64_t end) const noexcept {
    if (first == end) return stretches_.empty();
    return stretches_.size() == 1 && stretches_[0].first == first && expected_ == end;
}

// Neighbours in memory, since a run goes from one probe to the next: the processor sees them coming. For a hundred
// probes in a model of 800 blocks this is the difference between a quarter and a half of the run.
std::pmr::memory_resource& Probe::pool() {
    static std::pmr::synchronized_pool_resource resource;
    return resource;
}

std::unique_ptr<Probe> make_probe(tessel::type_t type, run_clock_t& clock) {
    return make_probe_of(type, clock, tessel::value_types{});
}

}  // namespace zarn
