// What a model means, as a number.
#pragma once

#include <string>

#include "IMetaModel.h"
#include "PropertiesModel.h"

namespace zarn {

/// The meaning hash of a loaded model that has not been compiled: 32 hexadecimal digits that are equal for files that
/// describe the same computation. It covers classes, names, hierarchy, port counts, parameters as written, links, what
/// references hold, and the settings ti, tf and ts; not ids, order, geometry, colours, labels, names of referenced
/// files, or how the JSON is spelled. Values of workspace variables are no part of a model, nor of its meaning.
///
/// Stable from version to version: it stands in committed code. Linear in blocks and links, sorts aside, but for models
/// in which blocks of one parent have one name: these are told apart by what they are wired to.
std::string meaning_of(tessel::IMetaModel& model, const tessel::PropertiesModel& properties);

}  // namespace zarn
