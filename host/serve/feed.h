// Notifications on their way to those who listen.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace zarn::serve {

class Feed {
public:
    /// One listener.
    class Ear {
    public:
        /// The next notification, or nothing when none comes in that time.
        std::optional<std::string> next(std::chrono::milliseconds limit);
        /// Whether nothing will come any more: the feed has ended, or too much was waiting to be heard.
        bool closed();

    private:
        friend class Feed;
        std::mutex mutex_;
        std::condition_variable came_;
        std::deque<std::string> waiting_;
        std::size_t bytes_ = 0;
        bool closed_ = false;
    };

    std::shared_ptr<Ear> listen();
    void tell(const std::string& text);
    /// Closes all ears.
    void end();

private:
    std::mutex mutex_;
    std::list<std::weak_ptr<Ear>> ears_;
    bool ended_ = false;
};

}  // namespace zarn::serve
