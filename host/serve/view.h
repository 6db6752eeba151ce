// One level of a model as a page shows it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "host/document/document.h"
#include "host/draw/diagram.h"
#include "host/draw/scene.h"
#include "host/serve/handles.h"
#include "host/serve/json.h"
#include "host/serve/verdict.h"

namespace zarn::serve {

/// The drawing of one text and what is asked of it. What it chose for blocks without a place it keeps, so that they
/// stay where they are from one state of the text to the next.
class Views {
public:
    /// Takes another state of the text. Raises what `draw::read_diagram` does.
    void read(const sheet_t& sheet);
    /// Takes what the checks say; of an earlier state of the text as far as it goes.
    void take(const verdict_t& verdict);
    /// Forgets what another model has left.
    void reset();

    const draw::Diagram& diagram() const { return diagram_; }
    const Handles& handles() const { return *handles_; }
    std::uint64_t revision() const { return revision_; }

    /// The answer to `view`. `since`: the revision of the answer before, empty for a whole one. Raises `RpcError`.
    json_t level(const std::string& handle, std::optional<std::uint64_t> since);
    /// Where a block of the opened file is shown that the file gives no place.
    std::optional<draw::Rect> place_of(const std::string& handle);

private:
    struct told_t {
        std::uint64_t revision = 0;
        std::unordered_map<std::string, std::string> blocks, wires, pictures;  // pictures: text to name
    };
    class Writer;

    void give_places(std::size_t level);

    draw::Diagram diagram_;
    std::unique_ptr<Handles> handles_;
    std::vector<std::vector<std::size_t>> children_;
    std::uint64_t revision_ = 0;
    std::optional<std::uint64_t> checked_;  // the revision that the marks are of
    std::string file_;
    std::unordered_map<std::string, severity_t> problems_;
    std::unordered_map<std::string, draw::Rect> chosen_;  // by block, places that no file gives
    std::unordered_map<std::string, told_t> told_;        // by level
    std::uint64_t pictures_ = 0;                          // named so far
};

}  // namespace zarn::serve
