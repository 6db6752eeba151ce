// What a model takes in from outside: the inports of its root.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "IExecModel.h"
#include "IMetaModel.h"
#include "host/session/run.h"

namespace zarn {

class Session;

/// An inport of the root that nothing feeds. A run reads its cell in every step; who writes none leaves it 0.
struct input_t {
    const tessel::IMetaBlock* block = nullptr;
    std::string name;  ///< the block's path
    tessel::type_t type = tessel::type_unknown;
};

/// Those of a compiled model, by their numbers.
std::vector<input_t> inputs_of(const Session& session);
/// The one with that path, which may leave out the root, or that name. Raises `SessionError`.
const input_t& find_input(const std::vector<input_t>& inputs, std::string_view text);

/// Where the value of an input stands in a runnable model.
void* cell_of(tessel::IExecModel& exec, const input_t& input);

/// The values of an input, one for each step of the run, in the input's type.
struct feed_t {
    input_t input;
    const void* values = nullptr;
    std::uint64_t count = 0;
};

/// Feeds inputs step by step: `begin` ahead of the run, `next` behind each step. Behind the last value that stays.
class Feeder {
public:
    Feeder(tessel::IExecModel& exec, const std::vector<feed_t>& feeds);
    bool empty() const noexcept { return lines_.empty(); }
    void begin() noexcept { next(); }
    void next() noexcept;

private:
    struct line_t {
        char* cell;
        const char* next;
        const char* end;
        std::size_t size;
    };
    std::vector<line_t> lines_;
};

/// How many steps a run of a session takes.
std::uint64_t count_steps(const Session& session);

}  // namespace zarn
