#pragma once
// The image plug-ins of the asset compiler, handed out by name. Each plug-in is made on first use
// and kept for the manager's life, so callers may hold the pointer (and the configuration they
// set on it) across frames.
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "Gfx/ImagePlugins.h"

namespace ArdentisEngine {

class CompilerPluginManager {
public:
    // Null after one error line when there is no plug-in of that name.
    AbstractImageImporter* importer(std::string_view name);
    AbstractImageConverter* converter(std::string_view name);

    // Number of plug-ins made so far.
    std::size_t loadedCount() const { return _importers.size() + _converters.size(); }

private:
    ImagePluginManager _factory;
    std::map<std::string, std::unique_ptr<AbstractImageImporter>, std::less<>> _importers;
    std::map<std::string, std::unique_ptr<AbstractImageConverter>, std::less<>> _converters;
};

}
