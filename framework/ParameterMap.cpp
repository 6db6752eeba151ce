#include "ParameterMap.h"

#include <mutex>
#include <set>
#include <stdexcept>

namespace tessel {
namespace {

/// The text of a key that maps share. Keys are those of the classes' tables and the few that a host adds; they stay as
/// long as the process, since a map may outlive every other static object.
const std::string& shared_key(std::string_view key) {
    static auto& mutex = *new std::mutex;
    static auto& keys = *new std::set<std::string, std::less<>>;
    const std::scoped_lock lock(mutex);
    const auto found = keys.find(key);
    return found != keys.end() ? *found : *keys.emplace(key).first;
}

}  // namespace

ParameterMap::ParameterMap(std::initializer_list<std::pair<std::string_view, param_t>> parameters) {
    for (const auto& [key, parameter] : parameters)
        if (!contains(key)) (*this)[key] = parameter;
}

ParameterMap::ParameterMap(const ParameterMap& other) {
    try {
        node_t** link = &first_;
        for (const auto& [key, parameter] : other) {
            *link = new node_t{{key, parameter}, nullptr};
            link = &(*link)->next;
        }
    } catch (...) {
        clear();
        throw;
    }
}

ParameterMap& ParameterMap::operator=(const ParameterMap& other) {
    if (this != &other) *this = ParameterMap(other);
    return *this;
}

ParameterMap& ParameterMap::operator=(ParameterMap&& other) noexcept {
    std::swap(first_, other.first_);
    return *this;
}

std::size_t ParameterMap::size() const noexcept { return static_cast<std::size_t>(std::distance(begin(), end())); }

ParameterMap::node_t** ParameterMap::link_to(std::string_view key) noexcept {
    node_t** link = &first_;
    while (*link != nullptr && (*link)->entry.first != key) link = &(*link)->next;
    return link;
}

ParameterMap::iterator ParameterMap::find(std::string_view key) noexcept { return iterator(*link_to(key)); }

ParameterMap::const_iterator ParameterMap::find(std::string_view key) const noexcept {
    return const_cast<ParameterMap*>(this)->find(key);
}

bool ParameterMap::contains(std::string_view key) const noexcept { return find(key) != end(); }

param_t& ParameterMap::at(std::string_view key) {
    const auto found = find(key);
    if (found == end()) throw std::out_of_range("no parameter with that key");
    return found->second;
}

const param_t& ParameterMap::at(std::string_view key) const { return const_cast<ParameterMap*>(this)->at(key); }

param_t& ParameterMap::operator[](std::string_view key) {
    node_t** link = link_to(key);
    if (*link == nullptr) *link = new node_t{{shared_key(key), {}}, nullptr};
    return (*link)->entry.second;
}

std::size_t ParameterMap::erase(std::string_view key) noexcept {
    node_t** link = link_to(key);
    if (*link == nullptr) return 0;
    delete std::exchange(*link, (*link)->next);
    return 1;
}

void ParameterMap::clear() noexcept {
    while (first_ != nullptr) delete std::exchange(first_, first_->next);
}

}  // namespace tessel
