// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Log.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"
#include "Platform/Foundation/Log.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace zelvane {

namespace {

constexpr std::size_t kLongestLine = 512;

bool isTrace(LV2_URID type) {
    static const LV2_URID trace = lv2Urid(LV2_LOG__Trace);
    return type == trace;
}

}  // namespace

int Lv2Log::printLine(LV2_Log_Handle handle, LV2_URID type, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = printLineFrom(handle, type, format, arguments);
    va_end(arguments);
    return length;
}

int Lv2Log::printLineFrom(LV2_Log_Handle handle, LV2_URID type, const char* format, va_list arguments) {
    if (isTrace(type)) return 0;
    auto& log = *static_cast<Lv2Log*>(handle);
    std::array<char, kLongestLine> text{};
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    if (length <= 0) return length;
    const std::size_t kept = std::min(static_cast<std::size_t>(length), text.size() - 1);
    if (!Lv2RunScope::isActive()) {
        log.write({text.data(), kept});
    } else if (!log._waiting.push(std::as_bytes(std::span(text.data(), kept)))) {
        log._lost.fetch_add(1, std::memory_order_relaxed);
    }
    return length;
}

void Lv2Log::write(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    std::replace(text.begin(), text.end(), '\n', ' ');
    if (text.empty()) return;
    const std::uint64_t line = _lines.fetch_add(1, std::memory_order_relaxed);
    if (line < kMostLines) Log::write("LV2: [%@] %@", {_name, text});
    if (line == kMostLines) Log::write("LV2: [%@] %@", {_name, "and so on; no more of it is told"});
}

void Lv2Log::tell() {
    while (const auto text = _waiting.front()) {
        write({reinterpret_cast<const char*>(text->data()), text->size()});
        _waiting.pop();
    }
}

}  // namespace zelvane
