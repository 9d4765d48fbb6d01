// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2StateFiles.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace zelvane {

namespace fs = std::filesystem;

namespace {

constexpr const char* kOwn = "state:";
constexpr const char* kBundled = "bundle:";
constexpr std::uintmax_t kMostBytes = std::uintmax_t{8} << 20;  // all together; more is no part of settings

/// The path below the folder, or an empty one for what lies elsewhere.
fs::path below(const fs::path& folder, const fs::path& file) {
    if (folder.empty()) return {};
    const fs::path relative = file.lexically_normal().lexically_relative(folder.lexically_normal());
    return relative.empty() || *relative.begin() == ".." || relative == "." ? fs::path() : relative;
}

char* copied(const fs::path& path) {
    return strdup(path.c_str());
}

PropertyList::Data contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    PropertyList::Data data(text.size());
    if (!text.empty()) std::memcpy(data.data(), text.data(), text.size());
    return data;
}

}  // namespace

Lv2StateFiles::~Lv2StateFiles() {
    std::error_code ignored;
    if (!_folder.empty()) fs::remove_all(_folder, ignored);
}

fs::path Lv2StateFiles::folder() const {
    const std::lock_guard lock(_mutex);
    return _folder;
}

fs::path Lv2StateFiles::folderForFiles() {
    const std::lock_guard lock(_mutex);
    if (_folder.empty()) {
        std::error_code error;
        std::string name = (fs::temp_directory_path(error) / "zelvane-XXXXXX").native();
        if (!error && mkdtemp(name.data()) != nullptr) _folder = name;
    }
    return _folder;
}

fs::path Lv2StateFiles::madePath(const std::string& name) {
    const fs::path own = folderForFiles();
    const fs::path file = own / fs::path(name).relative_path();
    if (below(own, file).empty()) return {};
    std::error_code ignored;
    fs::create_directories(file.parent_path(), ignored);
    return file;
}

std::string Lv2StateFiles::abstractPath(const fs::path& file) const {
    if (const fs::path own = below(folder(), file); !own.empty()) return kOwn + own.native();
    if (const fs::path bundled = below(_bundle, file); !bundled.empty()) return kBundled + bundled.native();
    return file.native();
}

fs::path Lv2StateFiles::absolutePath(const std::string& abstract) const {
    if (abstract.starts_with(kOwn)) return folder() / abstract.substr(std::strlen(kOwn));
    if (abstract.starts_with(kBundled)) return _bundle / abstract.substr(std::strlen(kBundled));
    return abstract;
}

PropertyList::Dictionary Lv2StateFiles::contents() const {
    PropertyList::Dictionary files;
    const fs::path own = folder();
    if (own.empty()) return files;
    std::error_code error;
    std::uintmax_t total = 0;
    for (fs::recursive_directory_iterator place(own, error), end; !error && place != end; place.increment(error)) {
        if (!place->is_regular_file(error)) continue;
        total += place->file_size(error);
        if (error || total > kMostBytes) break;
        files[below(own, place->path()).native()] = {contentOf(place->path())};
    }
    return files;
}

void Lv2StateFiles::putContents(const PropertyList::Dictionary& files) {
    for (const auto& [name, list] : files) {
        const auto* data = std::get_if<PropertyList::Data>(&list.value);
        const fs::path file = data == nullptr ? fs::path() : madePath(name);
        if (file.empty()) continue;
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(data->data()), static_cast<std::streamsize>(data->size()));
    }
}

char* Lv2StateFiles::make(LV2_State_Make_Path_Handle handle, const char* name) {
    const fs::path file = static_cast<Lv2StateFiles*>(handle)->madePath(name);
    return file.empty() ? nullptr : copied(file);
}

char* Lv2StateFiles::abstract(LV2_State_Map_Path_Handle handle, const char* path) {
    return copied(static_cast<Lv2StateFiles*>(handle)->abstractPath(path));
}

char* Lv2StateFiles::absolute(LV2_State_Map_Path_Handle handle, const char* path) {
    return copied(static_cast<Lv2StateFiles*>(handle)->absolutePath(path));
}

void Lv2StateFiles::release(LV2_State_Free_Path_Handle, char* path) {
    std::free(path);
}

}  // namespace zelvane
