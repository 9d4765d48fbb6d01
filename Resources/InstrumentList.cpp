// SPDX-License-Identifier: GPL-3.0-or-later
#include "Resources/InstrumentList.h"

#include "Platform/Foundation/Text.h"
#include "Resources/AudioServices.h"

#include <iostream>
#include <string>

namespace zelvane {

namespace {

bool isOffered(const AVAudioUnitComponent& component) {
    return (component.audioComponentDescription.componentFlags & kAudioComponentFlag_SandboxSafe) != 0;
}

std::string remark(const AVAudioUnitComponent& component) {
    if (!isOffered(component)) return "\tnot offered: " + component.refusal;
    switch (component.microtones) {
        case Microtones::yes:
            return {};
        case Microtones::no:
            return "\tno microtones: it does not follow pitch bend";
        case Microtones::unknown:
            return "\tperhaps no microtones: it made no sound that could be measured";
    }
    return {};
}

void tellTrying(const std::string& name) {
    std::cerr << "zelvane: trying " + printable(name) + "\n";
}

}  // namespace

int listInstruments(bool all) {
    std::string advice;
    bool areThere = false;
    for (const auto& provider : makeCompleteComponentProviders(tellTrying)) {
        for (const auto& component : provider->components()) {
            areThere = areThere || isOffered(component);
            if (all || isOffered(component)) std::cout << printable(component.name) + remark(component) + "\n";
        }
        advice += " " + provider->installationAdvice();
    }
    if (!areThere) std::cerr << "zelvane: there is no instrument." + advice + "\n";
    return areThere ? 0 : 1;
}

}  // namespace zelvane
