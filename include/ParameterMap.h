// The parameters of a block by key.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "core/export.h"
#include "core/var.h"

namespace tessel {

/// One parameter of a block.
struct param_t {
    const char* suffix = "";  ///< unit to show behind the key, such as " [sec]"; a literal, never null
    var_t value;              ///< an expression's or keyword's text, or a number
};

/// A map from key to parameter with the operations of the standard's hash maps, made for very many small ones: a block
/// has none to four parameters, and most blocks of a large model none. So an empty map is one pointer, the texts of
/// keys are kept once in the process, and a key is looked for from the front. The order is that of insertion.
/// References and iterators stay valid until their parameter is erased.
class BLOCKS_API ParameterMap {
    struct node_t;
    template <bool Const>
    class walk_t;

public:
    using key_type = std::string;
    using mapped_type = param_t;
    struct value_type {
        const std::string& first;
        param_t second;
    };
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = value_type&;
    using const_reference = const value_type&;
    using iterator = walk_t<false>;
    using const_iterator = walk_t<true>;

    ParameterMap() noexcept = default;
    /// Of several entries with one key, the first counts.
    ParameterMap(std::initializer_list<std::pair<std::string_view, param_t>> parameters);
    ParameterMap(const ParameterMap& other);
    ParameterMap(ParameterMap&& other) noexcept : first_(std::exchange(other.first_, nullptr)) {}
    ParameterMap& operator=(const ParameterMap& other);
    ParameterMap& operator=(ParameterMap&& other) noexcept;
    ~ParameterMap() { clear(); }

    iterator begin() noexcept;
    iterator end() noexcept;
    const_iterator begin() const noexcept;
    const_iterator end() const noexcept;
    const_iterator cbegin() const noexcept;
    const_iterator cend() const noexcept;

    bool empty() const noexcept { return first_ == nullptr; }
    /// Counted by a walk.
    size_type size() const noexcept;

    bool contains(std::string_view key) const noexcept;
    /// 0 or 1.
    size_type count(std::string_view key) const noexcept { return contains(key) ? 1 : 0; }
    iterator find(std::string_view key) noexcept;
    const_iterator find(std::string_view key) const noexcept;
    /// The entry of a key and what is behind it; twice the end where there is none.
    std::pair<iterator, iterator> equal_range(std::string_view key) noexcept;
    std::pair<const_iterator, const_iterator> equal_range(std::string_view key) const noexcept;
    /// Raises `std::out_of_range` ("invalid unordered_map<K, T> key") for a key that is not there.
    param_t& at(std::string_view key);
    const param_t& at(std::string_view key) const;
    /// A key that is not there is added with an empty parameter.
    param_t& operator[](std::string_view key);

    /// Adds a parameter where the key has none. Returns the key's entry and whether it was added.
    std::pair<iterator, bool> emplace(std::string_view key, param_t parameter);
    /// The same with a parameter made of the arguments, which are left alone where the key has one.
    template <class... Args>
    std::pair<iterator, bool> try_emplace(std::string_view key, Args&&... args);
    std::pair<iterator, bool> insert(std::pair<std::string_view, param_t> entry);
    template <class Iterator>
    void insert(Iterator first, Iterator last);
    void insert(std::initializer_list<std::pair<std::string_view, param_t>> entries);
    /// Adds a parameter, or replaces the one that is there; the second value tells which: true where it was added.
    std::pair<iterator, bool> insert_or_assign(std::string_view key, param_t parameter);

    /// How many went: 0 or 1.
    size_type erase(std::string_view key) noexcept;
    /// Erases one entry and returns the next.
    iterator erase(const_iterator position) noexcept;
    iterator erase(iterator position) noexcept;
    /// Erases a range and returns its end.
    iterator erase(const_iterator first, const_iterator last) noexcept;
    void clear() noexcept;
    void swap(ParameterMap& other) noexcept { std::swap(first_, other.first_); }
    friend void swap(ParameterMap& a, ParameterMap& b) noexcept { a.swap(b); }

    /// Whether both hold the same keys, in whatever order, with units and values that are the same and of one type.
    bool operator==(const ParameterMap& other) const noexcept;

private:
    /// The link that leads to the key's node, or the one at the end.
    node_t** link_to(std::string_view key) noexcept;

    node_t* first_ = nullptr;
};

struct ParameterMap::node_t {
    value_type entry;
    node_t* next;
};

template <bool Const>
class ParameterMap::walk_t {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = ParameterMap::value_type;
    using difference_type = std::ptrdiff_t;
    using reference = std::conditional_t<Const, const value_type&, value_type&>;
    using pointer = std::conditional_t<Const, const value_type*, value_type*>;

    walk_t() noexcept = default;
    operator walk_t<true>() const noexcept requires(!Const) { return walk_t<true>(node_); }
    reference operator*() const noexcept { return node_->entry; }
    pointer operator->() const noexcept { return &node_->entry; }
    walk_t& operator++() noexcept {
        node_ = node_->next;
        return *this;
    }
    walk_t operator++(int) noexcept { return walk_t(std::exchange(node_, node_->next)); }
    friend bool operator==(walk_t a, walk_t b) noexcept { return a.node_ == b.node_; }

private:
    friend ParameterMap;
    friend walk_t<false>;
    explicit walk_t(node_t* node) noexcept : node_(node) {}

    node_t* node_ = nullptr;
};

inline ParameterMap::iterator ParameterMap::begin() noexcept { return iterator(first_); }
inline ParameterMap::iterator ParameterMap::end() noexcept { return {}; }
inline ParameterMap::const_iterator ParameterMap::begin() const noexcept { return const_iterator(first_); }
inline ParameterMap::const_iterator ParameterMap::end() const noexcept { return {}; }
inline ParameterMap::const_iterator ParameterMap::cbegin() const noexcept { return begin(); }
inline ParameterMap::const_iterator ParameterMap::cend() const noexcept { return end(); }
inline ParameterMap::iterator ParameterMap::erase(iterator position) noexcept {
    return erase(const_iterator(position));
}

template <class... Args>
std::pair<ParameterMap::iterator, bool> ParameterMap::try_emplace(std::string_view key, Args&&... args) {
    const auto found = find(key);
    if (found != end()) return {found, false};
    return emplace(key, param_t{std::forward<Args>(args)...});
}
template <class Iterator>
void ParameterMap::insert(Iterator first, Iterator last) {
    for (; first != last; ++first) emplace(first->first, first->second);
}

}  // namespace tessel
