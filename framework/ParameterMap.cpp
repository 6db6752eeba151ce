#include "ParameterMap.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <set>

#include "framework/missing_key.h"

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
    insert(parameters);
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
    if (found == end()) raise_missing_key();
    return found->second;
}

const param_t& ParameterMap::at(std::string_view key) const { return const_cast<ParameterMap*>(this)->at(key); }

std::pair<ParameterMap::iterator, ParameterMap::iterator> ParameterMap::equal_range(std::string_view key) noexcept {
    const auto found = find(key);
    return {found, found != end() ? std::next(found) : found};
}

std::pair<ParameterMap::const_iterator, ParameterMap::const_iterator> ParameterMap::equal_range(
    std::string_view key) const noexcept {
    return const_cast<ParameterMap*>(this)->equal_range(key);
}

param_t& ParameterMap::operator[](std::string_view key) { return emplace(key, {}).first->second; }

std::pair<ParameterMap::iterator, bool> ParameterMap::emplace(std::string_view key, param_t parameter) {
    node_t** link = link_to(key);
    const bool is_new = *link == nullptr;
    if (is_new) *link = new node_t{{shared_key(key), std::move(parameter)}, nullptr};
    return {iterator(*link), is_new};
}

std::pair<ParameterMap::iterator, bool> ParameterMap::insert(std::pair<std::string_view, param_t> entry) {
    return emplace(entry.first, std::move(entry.second));
}

void ParameterMap::insert(std::initializer_list<std::pair<std::string_view, param_t>> entries) {
    insert(entries.begin(), entries.end());
}

std::pair<ParameterMap::iterator, bool> ParameterMap::insert_or_assign(std::string_view key, param_t parameter) {
    const bool is_new = !contains(key);
    (*this)[key] = std::move(parameter);
    return {find(key), is_new};
}

std::size_t ParameterMap::erase(std::string_view key) noexcept {
    node_t** link = link_to(key);
    if (*link == nullptr) return 0;
    delete std::exchange(*link, (*link)->next);
    return 1;
}

ParameterMap::iterator ParameterMap::erase(const_iterator position) noexcept {
    node_t* const next = position.node_->next;
    erase(position->first);
    return iterator(next);
}

ParameterMap::iterator ParameterMap::erase(const_iterator first, const_iterator last) noexcept {
    while (first != last) first = erase(first);
    return iterator(last.node_);
}

void ParameterMap::clear() noexcept {
    while (first_ != nullptr) delete std::exchange(first_, first_->next);
}

bool ParameterMap::operator==(const ParameterMap& other) const noexcept {
    const auto has_same = [&other](const value_type& entry) {
        const auto found = other.find(entry.first);
        if (found == other.end()) return false;
        const param_t &a = entry.second, &b = found->second;
        return std::string_view(a.suffix) == b.suffix && a.value.type() == b.value.type() && a.value == b.value;
    };
    return size() == other.size() && std::all_of(begin(), end(), has_same);
}

}  // namespace tessel
