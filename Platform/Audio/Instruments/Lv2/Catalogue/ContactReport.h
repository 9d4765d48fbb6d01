// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane::contact {

// What the scanner and those that run it say to each other: commands, and the first words of the report's lines.

inline constexpr const char* kCommand = "contact";  // URI BUNDLE...
inline constexpr const char* kRefresh = "refresh";  // CACHE MILLISECONDS BYTES

inline constexpr const char* kStage = "stage";      // one of those below has begun
inline constexpr const char* kRefused = "refused";  // why, as a sentence
inline constexpr const char* kBend = "bend";        // cents
inline constexpr const char* kMemory = "memory";    // an allocation has failed
inline constexpr const char* kDone = "done";        // all was tried

inline constexpr const char* kMaking = "making";
inline constexpr const char* kPlaying = "playing";
inline constexpr const char* kSaving = "saving";
inline constexpr const char* kRemoving = "removing";

inline constexpr const char* kTrying = "trying";  // the name of an instrument
inline constexpr const char* kSaved = "saved";    // the cache holds more than before
inline constexpr const char* kFailed = "failed";  // why, as a sentence

}  // namespace zelvane::contact
