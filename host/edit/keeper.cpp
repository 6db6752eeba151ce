#include "host/edit/keeper.h"

#include <chrono>
#include <ctime>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

#include "core/format.h"
#include "host/document/read.h"
#include "host/session/output_file.h"

namespace zarn::edit {
namespace {

namespace fs = std::filesystem;

/// FNV-1a, to see whether a text is the one that it was.
std::string mark_of(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
    return tessel::format("{:016x}", hash);
}

std::string now() {
    const std::time_t time = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm parts{};
    gmtime_r(&time, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

void write(const fs::path& file, std::string_view head, std::string_view text) {
    OutputFile output(file);
    if (!head.empty()) output.write(head);
    output.write(text);
    output.commit();
}

}  // namespace

const char* disk_name(disk_t disk) {
    constexpr const char* names[] = {"same", "changed", "gone"};
    return names[static_cast<int>(disk)];
}

Keeper::Keeper(fs::path file, std::string text) : file_(std::move(file)), base_(std::move(text)), seen_(stamp()) {}

Keeper::stamp_t Keeper::stamp() const {
    std::error_code error;
    stamp_t stamp;
    stamp.size = fs::file_size(file_, error);
    if (error) return {};
    stamp.time = fs::last_write_time(file_, error).time_since_epoch().count();
    stamp.there = !error;
    return stamp;
}

fs::path Keeper::side() const { return file_.parent_path() / ("." + file_.filename().string() + ".unsaved"); }

std::string Keeper::read() const {
    const content_t content = read_file(file_);
    if (!content.problem.empty()) throw std::runtime_error(content.problem);
    return content.text.substr(0, content.length);
}

disk_t Keeper::disk() {
    const stamp_t now_there = stamp();
    if (now_there == seen_) return disk_t::same;
    if (!now_there.there) return disk_t::gone;
    try {
        if (read() != base_) return disk_t::changed;
    } catch (const std::exception&) {
        return disk_t::changed;
    }
    seen_ = now_there;
    return disk_t::same;
}

void Keeper::take(std::string text) {
    base_ = std::move(text);
    seen_ = stamp();
}

void Keeper::save(const std::string& text) {
    write(file_, {}, text);
    take(text);
    drop_kept();
}

void Keeper::keep(const std::string& text) const {
    const nlohmann::json head{{"of", mark_of(base_)}, {"when", now()}};
    write(side(), head.dump() + "\n", text);
}

void Keeper::drop_kept() const noexcept {
    std::error_code ignored;
    fs::remove(side(), ignored);
}

std::optional<Keeper::kept_t> Keeper::kept() const {
    std::error_code error;
    if (!fs::is_regular_file(fs::symlink_status(side(), error))) return std::nullopt;
    const content_t content = read_file(side());
    if (!content.problem.empty()) return std::nullopt;
    const std::string text = content.text.substr(0, content.length);
    const auto line = text.find('\n');
    if (line == std::string::npos) return std::nullopt;
    const auto head = nlohmann::json::parse(text.substr(0, line), nullptr, false);
    if (!head.is_object() || !head.contains("of") || !head["of"].is_string()) return std::nullopt;
    kept_t kept;
    kept.text = text.substr(line + 1);
    kept.when = head.contains("when") && head["when"].is_string() ? head["when"].get<std::string>() : "";
    kept.of_this = head["of"] == mark_of(base_);
    return kept;
}

}  // namespace zarn::edit
