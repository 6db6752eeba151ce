#include "host/serve/rpc.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "core/format.h"
#include "host/diagnose/nearest.h"
#include "host/diagnose/source.h"
#include "host/session/error.h"

namespace zarn::serve {
namespace {

constexpr std::size_t most_depth = 200;  // of objects in a request; the JSON library goes down level by level

const char* kind_of(error_t code) {
    switch (code) {
        case error_t::refused: return "refused";
        case error_t::file: return "file";
        case error_t::conflict: return "conflict";
        case error_t::consent: return "consent";
        case error_t::model: return "model";
        case error_t::state: return "state";
        case error_t::failed: return "failed";
        default: return "protocol";
    }
}

/// What a session raised, as an error object.
json_t object_of(const SessionError& error) {
    const auto code = [&] {
        switch (error.kind()) {
            case problem_t::usage: return error_t::refused;
            case problem_t::file: return error_t::file;
            case problem_t::workspace:
            case problem_t::interrupted: return error_t::failed;
            default: return error_t::model;
        }
    }();
    json_t data = json_t::object();
    if (!error.findings().empty()) data["findings"] = json_t::parse(to_json("", error.findings()))["findings"];
    return RpcError(code, error.what(), {}, std::move(data)).object();
}

bool is_id(const json_t& id) { return id.is_string() || id.is_number() || id.is_null(); }

/// Whether brackets stand too deep inside each other to be parsed. Brackets within texts count too, which no request
/// of ours has that many of.
bool is_too_deep(std::string_view text) {
    std::size_t depth = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '\\') ++i;
            else if (c == '"') quoted = false;
            continue;
        }
        if (c == '"') quoted = true;
        else if (c == '[' || c == '{') {
            if (++depth > most_depth) return true;
        } else if ((c == ']' || c == '}') && depth > 0) --depth;
    }
    return false;
}

std::string framed(const json_t& id, const char* key, json_t value) {
    json_t answer{{"jsonrpc", "2.0"}, {"id", id}};
    answer[key] = std::move(value);
    return dumped(answer);
}

const json_t nothing;
const json_t no_list = json_t::array();

}  // namespace

json_t RpcError::object() const {
    json_t data{{"kind", kind_of(code_)}};
    if (!mend_.empty()) data["mend"] = mend_;
    data.update(data_);
    return {{"code", static_cast<int>(code_)}, {"message", printable(what())}, {"data", std::move(data)}};
}

void Params::fail(const std::string& key, const char* expected) const {
    throw RpcError(error_t::params, tessel::format("\"{}{}\" must be {}", where_, key, expected));
}

bool Params::has(const char* key) const { return !value(key).is_null(); }

const json_t& Params::value(const char* key) const {
    const auto found = object_.is_object() ? object_.find(key) : object_.end();
    return object_.is_object() && found != object_.end() ? *found : nothing;
}

const json_t& Params::need(const char* key) const {
    const json_t& found = value(key);
    if (found.is_null()) throw RpcError(error_t::params, tessel::format("\"{}{}\" is missing", where_, key));
    return found;
}

std::string Params::text(const char* key) const {
    const json_t& found = need(key);
    if (!found.is_string()) fail(key, "a text");
    return found.get<std::string>();
}

std::string Params::text(const char* key, const std::string& otherwise) const {
    return has(key) ? text(key) : otherwise;
}

double Params::number(const char* key) const {
    const json_t& found = need(key);
    const double number = found.is_number() ? found.get<double>() : std::nan("");
    if (!std::isfinite(number)) fail(key, "a number");
    return number;
}

double Params::number(const char* key, double otherwise) const { return has(key) ? number(key) : otherwise; }

std::int64_t Params::integer(const char* key) const {
    const double given = number(key);
    if (given != std::floor(given) || std::abs(given) > 9e15) fail(key, "a whole number");
    return static_cast<std::int64_t>(given);
}

std::int64_t Params::integer(const char* key, std::int64_t otherwise) const {
    return has(key) ? integer(key) : otherwise;
}

bool Params::flag(const char* key, bool otherwise) const {
    const json_t& found = value(key);
    if (found.is_null()) return otherwise;
    if (!found.is_boolean()) fail(key, "true or false");
    return found.get<bool>();
}

std::vector<std::string> Params::texts(const char* key) const {
    std::vector<std::string> found;
    for (const json_t& element : list(key)) {
        if (!element.is_string()) fail(key, "a list of texts");
        found.push_back(element.get<std::string>());
    }
    return found;
}

const json_t& Params::list(const char* key) const {
    const json_t& found = value(key);
    if (found.is_null()) return no_list;
    if (!found.is_array()) fail(key, "a list");
    return found;
}

Params Params::object(const char* key) const {
    const json_t& found = need(key);
    if (!found.is_object()) fail(key, "an object");
    return Params(found, where_ + key + ".");
}

void Params::allow(const std::vector<std::string>& names) const {
    if (!object_.is_object()) return;
    for (const auto& [key, ignored] : object_.items()) {
        if (std::ranges::find(names, key) != names.end()) continue;
        const std::string near = nearest_name(key, names);
        throw RpcError(error_t::params, tessel::format("there is no parameter \"{}{}\"{}", where_, printable(key),
                                                       near.empty() ? "" : "; did you mean \"" + near + "\"?"));
    }
}

void Methods::add(const char* name, std::vector<std::string> parameters, work_t work) {
    methods_[name] = {std::move(parameters), std::move(work)};
    order_.emplace_back(name);
}

std::vector<std::string> Methods::names() const { return order_; }

json_t Methods::call(const json_t& request) const {
    const auto version = request.find("jsonrpc");
    if (version == request.end() || *version != "2.0") throw RpcError(error_t::request, "\"jsonrpc\" must be \"2.0\"");
    const auto name = request.find("method");
    if (name == request.end() || !name->is_string()) throw RpcError(error_t::request, "\"method\" must be a text");
    const auto method = methods_.find(name->get<std::string>());
    if (method == methods_.end()) {
        const std::string near = nearest_name(name->get<std::string>(), order_);
        throw RpcError(error_t::method,
                       tessel::format("there is no method \"{}\"{}", printable(name->get<std::string>()),
                                      near.empty() ? "" : "; did you mean \"" + near + "\"?"));
    }
    const auto given = request.find("params");
    if (given != request.end() && !given->is_object() && !given->is_null())
        throw RpcError(error_t::params, "\"params\" must be an object: parameters go by their names");
    const json_t none = json_t::object();
    const Params params(given != request.end() && given->is_object() ? *given : none);
    params.allow(method->second.parameters);
    return method->second.work(params);
}

std::optional<std::string> Methods::answer(std::string_view text) const {
    json_t id;
    const auto failed = [&](const json_t& error) { return framed(id, "error", error); };
    json_t request = is_too_deep(text) ? json_t(json_t::value_t::discarded) : json_t::parse(text, nullptr, false);
    if (request.is_discarded()) return failed(RpcError(error_t::parse, "the request is no JSON").object());
    if (!request.is_object()) return failed(RpcError(error_t::request, "a request is one object").object());
    const auto found = request.find("id");
    const bool notified = found == request.end();
    if (!notified && !is_id(*found))
        return failed(RpcError(error_t::request, "\"id\" must be a text or a number").object());
    if (!notified) id = *found;
    std::string answer;
    const bool is_request = request.contains("method") && request["method"].is_string();
    try {
        answer = framed(id, "result", call(request));
    } catch (const RpcError& error) {
        answer = failed(error.object());
    } catch (const SessionError& error) {
        answer = failed(object_of(error));
    } catch (const std::bad_alloc&) {
        answer = failed(RpcError(error_t::failed, "not enough memory").object());
    } catch (const std::exception& error) {
        answer = failed(RpcError(error_t::failed, error.what()).object());
    }
    if (notified && is_request) return std::nullopt;
    return answer;
}

std::string notification(const char* method, json_t params) {
    return dumped(json_t{{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}});
}

}  // namespace zarn::serve
