#include "platform/simulated/file_manager.h"

#include <utility>

namespace korvel::platform {

namespace {

/// Whether `path` is that folder or lies in it.
bool isWithin(const std::string& path, const std::string& folder) {
    return path == folder || path.starts_with(folder + "/");
}

} // namespace

std::string SimulatedFileManager::makeWorkFolder(const std::string& name,
                                                 const std::string& place) {
    places.push_back(place);
    std::string path = temporary + "/" + name;
    createDirectory(path);
    return path;
}

bool SimulatedFileManager::createDirectory(const std::string& path) {
    note("createDirectory ", path);
    if (creates) {
        folders.insert(path);
    }
    return creates;
}

Status<std::errc> SimulatedFileManager::move(const std::string& from, const std::string& to) {
    note("move ", from, " ", to);
    if (Status<std::errc> scripted = onMove ? onMove(from, to) : Status<std::errc>(); !scripted) {
        return scripted;
    }
    if (to.starts_with(temporary + "/") && folders.count(to.substr(0, to.rfind('/'))) == 0) {
        return Error{std::errc::no_such_file_or_directory, from, "There is no such folder."};
    }
    if (folders.erase(from) != 0) {
        folders.insert(to);
        return {};
    }
    auto file = files_.contents.extract(from);
    if (file.empty()) {
        return Error{std::errc::no_such_file_or_directory, from, "There is no such file."};
    }
    file.key() = to;
    files_.contents.insert(std::move(file));
    return {};
}

bool SimulatedFileManager::exchange(const std::string& one, const std::string& other) {
    note("exchange ", one, " ", other);
    return exchanges && folders.count(one) != 0 && folders.count(other) != 0;
}

Status<std::errc> SimulatedFileManager::flush(const std::string& folder) {
    note("flush ", folder);
    return flushed;
}

Status<std::errc> SimulatedFileManager::recordReplacement(const std::string& workFolder,
                                                          const std::string& place) {
    note("recordReplacement ", workFolder, " ", place);
    return recorded;
}

void SimulatedFileManager::remove(const std::string& path) {
    note("remove ", path);
    std::erase_if(folders, [&](const std::string& folder) { return isWithin(folder, path); });
    std::erase_if(listings, [&](const auto& listing) { return isWithin(listing.first, path); });
    std::erase_if(files_.contents, [&](const auto& file) { return isWithin(file.first, path); });
}

std::optional<std::vector<std::string>> SimulatedFileManager::contents(const std::string& path) {
    note("contents ", path);
    if (folders.count(path) == 0) {
        return std::nullopt;
    }
    const auto found = listings.find(path);
    return found == listings.end() ? std::vector<std::string>() : found->second;
}

} // namespace korvel::platform
