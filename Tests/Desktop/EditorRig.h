// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"
#include "Tests/Fakes/DesktopApplication.h"

#include <QElapsedTimer>
#include <QWidget>
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zelvane {

/// An instrument with the parameters that a test gives it.
class ListedInstrument final : public Instrument {
  public:
    explicit ListedInstrument(std::vector<UnitParameter> parameters) : _parameters(std::move(parameters)) {}

    OSStatus prepare(double, std::uint32_t) override { return kNoError; }
    void silence() noexcept override {}
    std::span<const UnitParameter> parameters() const override { return _parameters; }
    std::span<const UnitProperty> properties() const override { return {}; }
    void setParameter(std::size_t, float) noexcept override {}
    RenderResult render(std::span<const TimedMIDI> events, float*, float*, std::uint32_t) noexcept override {
        return {events.size(), true};
    }

  private:
    const std::vector<UnitParameter> _parameters;
};

inline std::shared_ptr<AVAudioUnit> makeNode(std::unique_ptr<Instrument> instrument,
                                             const AVAudioUnitComponent& component = {}) {
    return std::make_shared<AVAudioUnit>(component, std::move(instrument));
}

/// Serves events until the condition holds; false when it does not within a time that is long for anything.
template <typename Condition>
bool eventually(const Condition& condition) {
    constexpr int kLongMilliseconds = 20'000;
    QElapsedTimer timer;
    for (timer.start(); !condition() && timer.elapsed() < kLongMilliseconds;)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 50);
    return condition();
}

/// Throws, which ends the test, when there is no such part.
template <typename Part>
Part& part(const QWidget& widget, const std::string& name) {
    auto* found = widget.findChild<Part*>(QString::fromStdString(name));
    if (found == nullptr) throw std::runtime_error("there is no " + name);
    return *found;
}

}  // namespace zelvane
