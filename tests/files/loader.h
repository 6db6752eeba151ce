// Loads models given as text.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "json.h"
#include "tests/support/console.h"
#include "tests/support/temp_folder.h"

namespace test {

/// A model with properties, files to load into it, and the console's texts.
struct Loader {
    TempFolder temp;
    Console console;
    std::shared_ptr<tessel::PropertiesModel> properties = std::make_shared<tessel::PropertiesModel>();
    std::shared_ptr<tessel::IMetaModel> model = tessel::create_empty_meta_model();

    Loader() { model->set_properties(properties); }

    /// Writes the text to a file and loads that as the main file.
    tessel::result_t load(std::string_view text) {
        return tessel::json::load(model.get(), temp.write("main.json", text).string());
    }

    /// Writes the text to a file and loads that under the block `parent`.
    tessel::result_t load_reference(std::string_view text, std::size_t parent) {
        return tessel::json::load(model.get(), temp.write("reference.json", text).string(), parent);
    }

    /// The blocks' names in order, "-" for an empty entry.
    std::string names() const {
        std::string text;
        for (auto block = model->begin(); block != model->end(); ++block)
            text += (text.empty() ? "" : " ") + (*block != nullptr ? std::string((*block)->name()) : "-");
        return text;
    }

    /// First block of that name.
    tessel::IMetaBlock* named(std::string_view name) const {
        for (auto block = model->begin(); block != model->end(); ++block)
            if (*block != nullptr && (*block)->name() == name) return block->get();
        return nullptr;
    }
};

}  // namespace test
