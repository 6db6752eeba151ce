// The methods of the protocol on one open model. docs/protocol.md tells what each takes and answers.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace zarn::serve {

struct service_setup_t {
    std::filesystem::path folder;  ///< out of which nothing is opened or written
    std::string file;              ///< of the model to open, relative to the folder; "" for none
    std::string version;           ///< of the product
    /// Gets notifications, each a text of one line; from any thread, and while a request is answered too.
    std::function<void(std::string text)> tell;
};

/// Answers requests, one at a time; those of several threads wait for each other.
class Service {
public:
    /// Raises `RpcError` when the folder or the file cannot be opened.
    explicit Service(service_setup_t setup);
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    ~Service();

    /// The answer to a request, a text of one line; nothing for a notification.
    std::optional<std::string> answer(std::string_view request);

private:
    struct impl_t;
    std::unique_ptr<impl_t> impl_;
};

}  // namespace zarn::serve
