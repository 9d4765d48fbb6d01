// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

namespace zelvane {

/// A list of one owned thing, as what takes several of them wants it.
template <typename Base>
std::vector<std::unique_ptr<Base>> oneOf(std::unique_ptr<Base> only) {
    std::vector<std::unique_ptr<Base>> all;
    all.push_back(std::move(only));
    return all;
}

}  // namespace zelvane
