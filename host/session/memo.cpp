#include "host/session/memo.h"

#include <optional>
#include <utility>

namespace zarn {

using tessel::result_ok;
using tessel::result_t;

void Memo::begin() {
    end();
    const std::lock_guard lock(mutex_);
    keeps_ = true;
}

void Memo::end() {
    const std::lock_guard lock(mutex_);
    keeps_ = false;
    values_.clear();
    arrays_.clear();
    series_.clear();
}

template <class T, class Ask, class Good>
T Memo::recall(std::map<key_t, T>& known, std::string_view scope, std::string_view text, const Ask& ask,
               const Good& good) {
    key_t key{scope, text};
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = known.find(key); found != known.end()) return found->second;
    }
    T answer = ask();  // without the lock: the interpreter has one of its own
    const std::lock_guard lock(mutex_);
    if (keeps_ && good()) known.emplace(std::move(key), answer);
    return answer;
}

std::shared_ptr<python::ISeries> Memo::find_series(const char* expression) {
    std::shared_ptr<python::ISeries> answer;
    return recall(
        series_, "", expression != nullptr ? expression : "", [&] { return answer = bridge_->find_series(expression); },
        [&] { return answer != nullptr; });
}

result_t Memo::evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) {
    result_t result = result_ok;
    array = recall(
        arrays_, name, text,
        [&] {
            python::var_array_t answer;
            result = bridge_->evaluate_array(name, text, answer);
            return answer;
        },
        [&] { return result == result_ok; });
    return result;
}

result_t Memo::evaluate(std::string_view scope, std::string_view text, tessel::var_t* value) {
    result_t result = result_ok;
    auto answer = recall(
        values_, scope, text,
        [&] {
            tessel::var_t asked;
            result = bridge_->evaluate(scope, text, &asked);
            return asked;
        },
        [&] { return result == result_ok; });
    if (result == result_ok) *value = std::move(answer);
    return result;
}

void Memo::set_array(std::string_view name, const double* values, std::int32_t count) {
    bridge_->set_array(name, values, count);
}

void Memo::set_attribute(std::string_view object, std::string_view key, double value) {
    bridge_->set_attribute(object, key, value);
}

void Memo::assign(std::string_view name, std::string_view expression) { bridge_->assign(name, expression); }

}  // namespace zarn
