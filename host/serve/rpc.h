// JSON-RPC 2.0: requests, parameters and error objects. docs/protocol.md is the page for who speaks it.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/serve/json.h"

namespace zarn::serve {

enum class error_t : int {
    parse = -32700,
    request = -32600,
    method = -32601,
    params = -32602,
    refused = 1,
    file = 2,
    conflict = 3,
    consent = 4,
    model = 5,
    state = 6,
    failed = 7,
};

/// Ends a method with an error object. `what()` is one sentence for people.
class RpcError : public std::runtime_error {
public:
    RpcError(error_t code, const std::string& message, std::string mend = {}, json_t data = json_t::object())
        : std::runtime_error(message), code_(code), mend_(std::move(mend)), data_(std::move(data)) {}
    /// The error object.
    json_t object() const;

private:
    error_t code_;
    std::string mend_;
    json_t data_;
};

/// The parameters of a request, or an object among them. What has another type than asked for raises `RpcError`.
class Params {
public:
    explicit Params(const json_t& object, std::string where = {}) : object_(object), where_(std::move(where)) {}

    bool has(const char* key) const;
    std::string text(const char* key) const;
    std::string text(const char* key, const std::string& otherwise) const;
    double number(const char* key) const;
    double number(const char* key, double otherwise) const;
    std::int64_t integer(const char* key) const;
    std::int64_t integer(const char* key, std::int64_t otherwise) const;
    bool flag(const char* key, bool otherwise = false) const;
    std::vector<std::string> texts(const char* key) const;
    /// The list under a key, an empty one where there is none.
    const json_t& list(const char* key) const;
    Params object(const char* key) const;
    /// Whatever is there, null where nothing is.
    const json_t& value(const char* key) const;
    const json_t& json() const { return object_; }

    /// Refuses members of other names.
    void allow(const std::vector<std::string>& names) const;
    [[noreturn]] void fail(const std::string& key, const char* expected) const;

private:
    const json_t& need(const char* key) const;

    const json_t& object_;
    std::string where_;  // "operations[2]." before the name of a member in messages
};

/// The methods by their names. Methods are called one at a time by who calls `answer` one at a time.
class Methods {
public:
    using work_t = std::function<json_t(const Params& params)>;
    void add(const char* name, std::vector<std::string> parameters, work_t work);
    std::vector<std::string> names() const;

    /// The answer to a request; nothing for a notification. Never throws for what stands in it.
    std::optional<std::string> answer(std::string_view request) const;

private:
    struct method_t {
        std::vector<std::string> parameters;
        work_t work;
    };
    json_t call(const json_t& request) const;

    std::map<std::string, method_t> methods_;
    std::vector<std::string> order_;
};

/// A notification as a text.
std::string notification(const char* method, json_t params);

}  // namespace zarn::serve
