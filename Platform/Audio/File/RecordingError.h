// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/OSStatus.h"

#include <stdexcept>
#include <string>

namespace zelvane {

/// Why a file can't be made or written on. Never leaves this folder: its edge turns it into a status and a text.
class RecordingError : public std::runtime_error {
  public:
    /// The system's number for it, and what could not be done.
    RecordingError(int number, const std::string& what);

    /// Of the call to the system that has just failed.
    static RecordingError last(const std::string& what);
    /// Of what a function of libav returned.
    static RecordingError ofLibav(int result, const std::string& what);

    int number() const { return _number; }
    OSStatus status() const;

  private:
    int _number;
};

/// What a function of libav returned, which is below zero when it failed.
int checkLibav(int result, const char* what);

}  // namespace zelvane
