// A worker process, as the service sees it.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "host/serve/json.h"

namespace zarn::serve {

class Child {
public:
    using heard_t = std::function<void(const json_t& notification)>;
    using said_t = std::function<void(const std::string& text)>;
    /// Starts this command anew with the verb of the worker. `heard` gets its notifications, `said` what it writes to
    /// standard error, `ended` is called when it is gone; each in threads of the child. Raises `RpcError`.
    Child(heard_t heard, said_t said, std::function<void()> ended);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    /// Kills it.
    ~Child();

    /// Sends a request and waits for the answer. What the worker refuses, its end, and time that runs out raise
    /// `RpcError`; with the last the worker is killed.
    json_t ask(const char* method, json_t params, std::chrono::milliseconds limit);
    bool gone();
    void kill() noexcept;
    /// The end of what it has written to standard error.
    std::string last_words();

private:
    void listen();
    void overhear();

    heard_t heard_;
    said_t said_;
    std::function<void()> ended_;
    pid_t pid_ = -1;
    int in_ = -1, out_ = -1, err_ = -1;
    std::mutex mutex_, writing_;
    std::condition_variable came_;
    std::int64_t asked_ = 0;
    std::map<std::int64_t, json_t> answers_;
    bool gone_ = false;
    bool silent_ = false;  // whether nothing more comes on its standard error
    std::string words_;
    std::thread listener_, overhearer_;
};

}  // namespace zarn::serve
