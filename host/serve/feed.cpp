#include "host/serve/feed.h"

namespace zarn::serve {
namespace {

constexpr std::size_t most_waiting = std::size_t{256} << 20;  // bytes; who hears so slowly must begin anew

}  // namespace

std::optional<std::string> Feed::Ear::next(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    came_.wait_for(lock, limit, [this] { return closed_ || !waiting_.empty(); });
    if (waiting_.empty()) return std::nullopt;
    std::string text = std::move(waiting_.front());
    waiting_.pop_front();
    bytes_ -= text.size();
    return text;
}

bool Feed::Ear::closed() {
    const std::lock_guard lock(mutex_);
    return closed_ && waiting_.empty();
}

std::shared_ptr<Feed::Ear> Feed::listen() {
    auto ear = std::make_shared<Ear>();
    const std::lock_guard lock(mutex_);
    ear->closed_ = ended_;
    ears_.push_back(ear);
    return ear;
}

void Feed::tell(const std::string& text) {
    const std::lock_guard lock(mutex_);
    for (auto entry = ears_.begin(); entry != ears_.end();) {
        const auto ear = entry->lock();
        if (ear == nullptr) {
            entry = ears_.erase(entry);
            continue;
        }
        const std::lock_guard own(ear->mutex_);
        if (!ear->closed_) {
            ear->waiting_.push_back(text);
            ear->bytes_ += text.size();
            ear->closed_ = ear->bytes_ > most_waiting;
            ear->came_.notify_one();
        }
        ++entry;
    }
}

void Feed::end() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    for (const auto& entry : ears_) {
        const auto ear = entry.lock();
        if (ear == nullptr) continue;
        const std::lock_guard own(ear->mutex_);
        ear->closed_ = true;
        ear->came_.notify_one();
    }
}

}  // namespace zarn::serve
