// Which signals of a model are recorded.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "IExecModel.h"
#include "IMetaModel.h"
#include "host/session/recorder.h"

namespace zarn {

class Session;

/// One signal to record: an output of a block, or the input of a block without outputs.
struct signal_t {
    const tessel::IMetaBlock* block = nullptr;
    std::int16_t port = 0;
    bool is_input = false;
    tessel::type_t type = tessel::type_unknown;
    std::string name;        ///< the block's path, with the port where that is not plain
    Probe* probe = nullptr;  ///< once attached
};

/// All outputs of a compiled model.
std::vector<signal_t> all_signals(tessel::IMetaModel& model);
/// What a model shows by itself: root outports by their numbers, displays and to_workspace blocks.
std::vector<signal_t> shown_signals(tessel::IMetaModel& model);
/// The signals of texts PATH[:PORT], each once. PATH is a dotted path, with or without the root's name; one with * for
/// any characters, which means the outputs of all blocks like it; a subsystem's, which means its outports by number,
/// and PORT one of them by name or number; or #id. A text that names none raises `SessionError`, which begins with
/// `what`, the way in which the user gave it.
std::vector<signal_t> find_signals(tessel::IMetaModel& model, const std::vector<std::string>& texts,
                                   std::string_view what = "--probe");

/// Gives the paths in the names of signals the letters beyond ASCII that the model is written with.
void name_as_written(std::vector<signal_t>& signals, const Session& session);

/// Puts a probe for each signal directly behind its block.
void attach_probes(tessel::IExecModel& exec, std::vector<signal_t>& signals, run_clock_t& clock);

}  // namespace zarn
