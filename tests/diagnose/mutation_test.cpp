// Random damage to small valid models: the checks tell an error exactly when the library, in a process of its own,
// refuses the model, hangs, crashes, or leaves a block without a runnable form.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <random>

#include "ExecBlock.h"
#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "core/hash.h"
#include "framework/classes.h"
#include "json.h"
#include "models.h"

namespace zarn {
namespace {

using nlohmann::json;

class Damage {
public:
    explicit Damage(unsigned seed) : random_(seed) {}

    void apply(json& model) {
        if (!model.contains("blocks") || !model.contains("links")) return;
        if (model["blocks"].empty() || model["links"].empty()) return;
        json& element = pick(model["blocks"]);
        const std::string cls = element.begin().key();
        json& block = element.begin().value();
        json& link = pick(model["links"]);
        static const std::vector<json> ports{-1, 0, 1, 2, 3, 9, 65535};
        static const std::vector<json> counts{0, 1, 2, 3, 4, 5, 8, 9, 40000, 70000, 2000000, -1};
        static const std::vector<json> values{"True", "1",   "1.5", "-1", "0", "7",
                                              "300",  "'x'", 3,     2.5,  "",  "[0.0, 1.0]"};
        static const std::vector<json> odd{nullptr, "x", json::array(), json::object(), true, 1.5, -3};
        static const std::vector<json> types{"bool", "int8", "int32", "uint64", "flt32", "flt64"};
        switch (number(14)) {
            case 0: model["links"].erase(number(model["links"].size())); break;
            case 1: link["dstPort"] = pick(ports); break;
            case 2: link["srcPort"] = pick(ports); break;
            case 3: link["srcId"] = some_id(model); break;
            case 4: link["dstId"] = some_id(model); break;
            case 5:
                model["links"].push_back(
                    {{"srcId", some_id(model)}, {"dstId", some_id(model)}, {"dstPort", number(2)}});
                break;
            case 6: {
                const auto rows = tessel::factory::class_rows();
                json moved = block;
                element = json::object();
                element[rows[number(rows.size())].name] = std::move(moved);
                break;
            }
            case 7: block["inportCount"] = pick(counts); break;
            case 8: block["id"] = some_id(model); break;
            case 9: block["parent"] = some_id(model); break;
            case 10: {
                const char* cls_between = number(2) == 0 ? "cast" : "memory";
                insert(model, link, cls_between, pick(types));
                break;
            }
            case 11: block[parameter_of(cls)] = pick(values); break;
            case 12: block[number(2) == 0 ? std::string("name") : parameter_of(cls)] = pick(odd); break;
            case 13: block["portNumber"] = number(3); break;
        }
    }

private:
    std::size_t number(std::size_t below) { return std::uniform_int_distribution<std::size_t>(0, below - 1)(random_); }
    json& pick(json& list) { return list[number(list.size())]; }
    const json& pick(const std::vector<json>& list) { return list[number(list.size())]; }
    json some_id(json& model) {
        const std::size_t at = number(model["blocks"].size() + 1);
        if (at == model["blocks"].size()) return 7;
        return model["blocks"][at].begin().value().value("id", json(0));
    }
    std::string parameter_of(const std::string& cls) {
        const auto* defaults = tessel::factory::defaults_of(cls);
        if (defaults == nullptr) return "geometry";
        std::vector<std::string> keys;
        for (const auto& [key, parameter] : *defaults) keys.push_back(key);
        std::ranges::sort(keys);
        return keys[number(keys.size())];
    }
    void insert(json& model, json& link, const char* cls, const json& type) {
        const std::size_t id = 5000 + number(1000);
        const json next{{"srcId", id}, {"dstId", link["dstId"]}, {"dstPort", link.value("dstPort", json(0))}};
        link["dstId"] = id;
        link["dstPort"] = 0;
        model["links"].push_back(next);
        json element = json::object();
        element[cls] = {{"name", "inserted"}, {"id", id}, {"type", type}};
        model["blocks"].push_back(std::move(element));
    }

    std::mt19937 random_;
};

/// Whether load, compile, the making of the runnable model and a run do what they should.
bool library_takes(const std::filesystem::path& file) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(5);
        python::set_console([](std::string_view) {});
        std::filesystem::current_path(file.parent_path());
        const auto model = tessel::create_empty_meta_model();
        model->set_properties(std::make_shared<tessel::PropertiesModel>());
        if (tessel::json::load(model.get(), file.filename().string()) != 0 || model->compile() != 0) _exit(1);
        const auto exec = tessel::create_empty_exec_model();
        model->build_exec(exec.get());
        auto object = exec->begin();
        for (auto block = model->begin(); block != model->end(); ++block, ++object) {
            if (*block == nullptr || *object != nullptr) continue;
            const auto hash = (*block)->class_hash();
            if (hash != tessel::class_hash_of("subsys") && hash != tessel::class_hash_of("refsys")) _exit(1);
        }
        exec->run();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(Mutations, ErrorsAreExactlyWhatTheLibraryRefuses) {
    std::vector<json> models;
    for (const auto& entry : std::filesystem::directory_iterator(checks_folder())) {
        const std::string name = entry.path().filename().string();
        // models that are about expressions or references have tests of their own
        if (!name.ends_with("_ok.json") || name.starts_with("Z11")) continue;
        models.push_back(json::parse(read_text(entry.path())));
    }
    std::ranges::sort(models);
    std::mt19937 random(20240517);
    std::size_t refused = 0;
    constexpr unsigned count = 300;
    for (unsigned i = 0; i < count; ++i) {
        json damaged = models[std::uniform_int_distribution<std::size_t>(0, models.size() - 1)(random)];
        Damage damage(i);
        for (unsigned n = 0; n <= i % 3; ++n) damage.apply(damaged);
        const TempModel file(damaged.dump(1));
        const auto findings = diagnose(file.path(), {.final_bridge = true, .settings = {}, .confirm = true});
        const bool takes = library_takes(file.path());
        EXPECT_EQ(has_errors(findings), !takes) << damaged.dump(1) << "\n" << printed(findings);
        for (const finding_t& finding : findings) EXPECT_NE(finding.code, "Z901") << damaged.dump(1) << finding.what;
        refused += takes ? 0 : 1;
    }
    EXPECT_GT(refused, count / 4);
    EXPECT_LT(refused, count);
}

}  // namespace
}  // namespace zarn
