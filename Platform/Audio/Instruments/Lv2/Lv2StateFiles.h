// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/PropertyList.h"

#include <lv2/state/state.h>

#include <filesystem>
#include <mutex>
#include <string>

namespace zelvane {

/// The files that belong to an instance's state. Those that it makes itself lie in a folder of its own for as long as
/// it lives, and travel with its saved state; those of its bundle are named relative to it, since that may lie
/// elsewhere on another machine. All other files are named as they are. Control threads.
class Lv2StateFiles {
  public:
    explicit Lv2StateFiles(std::filesystem::path bundle) : _bundle(std::move(bundle)) {}
    ~Lv2StateFiles();
    Lv2StateFiles(const Lv2StateFiles&) = delete;
    Lv2StateFiles& operator=(const Lv2StateFiles&) = delete;

    LV2_State_Make_Path* makeFeature() { return &_make; }
    LV2_State_Map_Path* mapFeature() { return &_map; }
    LV2_State_Free_Path* freeFeature() { return &_free; }

    std::string abstractPath(const std::filesystem::path& file) const;
    std::filesystem::path absolutePath(const std::string& abstract) const;

    /// The instance's own files by their names.
    PropertyList::Dictionary contents() const;
    /// Puts such files where the instance finds them. Names that lead elsewhere are left out.
    void putContents(const PropertyList::Dictionary& files);

  private:
    std::filesystem::path madePath(const std::string& name);
    std::filesystem::path folderForFiles();
    std::filesystem::path folder() const;

    const std::filesystem::path _bundle;
    mutable std::mutex _mutex;      // plug-ins make files on threads of their own, too; guards the folder
    std::filesystem::path _folder;  // empty until the first file is made
    LV2_State_Make_Path _make{this, &make};
    LV2_State_Map_Path _map{this, &abstract, &absolute};
    LV2_State_Free_Path _free{this, &release};

    static char* make(LV2_State_Make_Path_Handle handle, const char* name);
    static char* abstract(LV2_State_Map_Path_Handle handle, const char* path);
    static char* absolute(LV2_State_Map_Path_Handle handle, const char* path);
    static void release(LV2_State_Free_Path_Handle handle, char* path);
};

}  // namespace zelvane
