#include "Editor/Compiler/CompilerPluginManager.h"

namespace ArdentisEngine {

AbstractImageImporter* CompilerPluginManager::importer(std::string_view name) {
    if(auto found = _importers.find(name); found != _importers.end()) return found->second.get();
    // An unknown name is reported by the factory; failures are not kept so that the message
    // comes again for the next caller rather than a silent null.
    std::unique_ptr<AbstractImageImporter> plugin = _factory.loadImporter(name);
    if(!plugin) return nullptr;
    return _importers.emplace(std::string{name}, std::move(plugin)).first->second.get();
}

AbstractImageConverter* CompilerPluginManager::converter(std::string_view name) {
    if(auto found = _converters.find(name); found != _converters.end()) return found->second.get();
    std::unique_ptr<AbstractImageConverter> plugin = _factory.loadConverter(name);
    if(!plugin) return nullptr;
    return _converters.emplace(std::string{name}, std::move(plugin)).first->second.get();
}

}
