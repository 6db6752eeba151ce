// Loading a document into a model of the library.
#pragma once

#include "IMetaModel.h"
#include "core/result.h"
#include "host/document/document.h"

namespace zarn {

/// Does what `tessel::json::load` does, with the texts that the document holds. Why a file or a reference cannot be
/// read is told on the console in the document's words; a referenced text that is no JSON is not shown there, since it
/// may be anything that the user can read.
tessel::result_t load(tessel::IMetaModel& model, Document& document);

}  // namespace zarn
