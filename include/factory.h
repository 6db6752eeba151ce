// Makes blocks by class name.
#pragma once

#include <memory>
#include <string_view>

#include "IMetaBlock.h"
#include "PropertiesBlock.h"
#include "core/export.h"

namespace tessel::factory {

/// A block of the class with new properties, empty for a name that is no class. The name is read up to its
/// terminating zero, which must be there.
BLOCKS_API std::unique_ptr<IMetaBlock> create(std::string_view class_name);

/// The same with the caller's properties, which the block shares. An empty parameter map gets the class's defaults.
BLOCKS_API std::unique_ptr<IMetaBlock> create(std::string_view class_name, std::shared_ptr<PropertiesBlock> properties);

}  // namespace tessel::factory
