// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace zelvane {

/// An output device whose cycles a test asks for one by one. Its back end, which the controller owns, has this one
/// device.
class SteppedDevice {
  public:
    explicit SteppedDevice(const std::string& name, const AudioDeviceFormat& format = {},
                           TimePoint start = TimePoint(std::chrono::hours(1)))
        : _state(std::make_shared<State>(name, format, start)) {}

    /// To be handed to the controller, which may keep it longer than this object lives. Named like the device.
    std::unique_ptr<AudioDeviceBackEnd> backEnd() const { return std::make_unique<BackEnd>(_state); }
    static std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds(const std::vector<const SteppedDevice*>& devices) {
        std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds;
        for (const SteppedDevice* device : devices) backEnds.push_back(device->backEnd());
        return backEnds;
    }

    /// Renders that many frames on the calling thread, and hands out what came. Frame times are exact and go on without
    /// a gap from step to step. Nothing (no buffers) while the device is not open.
    std::vector<std::vector<float>> step(std::uint32_t frames, bool isDiscontinuous = false) {
        return _state->step(frames, isDiscontinuous);
    }

    bool isOpen() const {
        return _state->read([](State& state) { return state.renderer != nullptr; });
    }
    int timesOpened() const {
        return _state->read([](State& state) { return state.timesOpened; });
    }
    /// The wish that came with the last opening.
    std::uint32_t wishedPeriod() const {
        return _state->read([](State& state) { return state.wishedPeriod; });
    }

    /// The device is gone: what is open is lost, and nothing can be opened.
    void die() {
        _state->change([](State& state) { state.isThere = false; });
    }
    void comeBack() {
        _state->change([](State& state) { state.isThere = true; });
    }
    /// What is open learns that it has to be opened again.
    void setFormat(const AudioDeviceFormat& format) {
        _state->change([&](State& state) { state.format = format; });
    }
    /// Opening blocks, as a server that hangs makes it, until it is let go on.
    void setHanging(bool isHanging) {
        _state->change([&](State& state) { state.isHanging = isHanging; });
    }

  private:
    struct State {
        State(std::string theName, const AudioDeviceFormat& theFormat, TimePoint theStart)
            : name(std::move(theName)), format(theFormat), start(theStart) {}

        std::vector<std::vector<float>> step(std::uint32_t count, bool isDiscontinuous) {
            const std::lock_guard lock(mutex);
            if (renderer == nullptr) return {};
            std::vector<std::vector<float>> buffers(format.channels, std::vector<float>(count));
            std::vector<float*> outputs;
            for (auto& buffer : buffers) outputs.push_back(buffer.data());
            const auto seconds = std::chrono::duration<double>(double(frames) / format.sampleRate);
            renderer->render({.start = start + std::chrono::round<Duration>(seconds),
                              .startIsExact = true,
                              .isDiscontinuous = isDiscontinuous,
                              .frames = count,
                              .periodFrames = format.periodFrames,
                              .outputs = outputs});
            frames += count;
            return buffers;
        }

        template <typename Read>
        std::invoke_result_t<Read, State&> read(Read function) {
            const std::lock_guard lock(mutex);
            return function(*this);
        }
        template <typename Change>
        void change(Change function) {
            read(function);
            condition.notify_all();
        }

        const std::string name;
        std::mutex mutex;
        std::condition_variable condition;
        // All guarded by the mutex.
        AudioDeviceFormat format;
        TimePoint start;
        std::uint64_t frames = 0;
        bool isThere = true;
        bool isHanging = false;
        int timesOpened = 0;
        std::uint32_t wishedPeriod = 0;
        AudioRenderer* renderer = nullptr;
    };

    class Stream final : public AudioStream {
      public:
        Stream(std::shared_ptr<State> state, const AudioDeviceFormat& format)
            : _state(std::move(state)), _format(format) {}
        ~Stream() override {
            _state->change([](State& state) { state.renderer = nullptr; });
        }

        AudioDeviceFormat format() const override { return _format; }
        bool start(AudioRenderer& renderer) override {
            _state->change([&](State& state) { state.renderer = &renderer; });
            return true;
        }
        AudioStreamState state() const override {
            return _state->read([this](State& state) {
                if (!state.isThere) return AudioStreamState::lost;
                return state.format == _format ? AudioStreamState::alive : AudioStreamState::formatChanged;
            });
        }
        std::uint64_t xruns() const override { return 0; }

      private:
        const std::shared_ptr<State> _state;
        const AudioDeviceFormat _format;
    };

    class BackEnd final : public AudioDeviceBackEnd {
      public:
        explicit BackEnd(std::shared_ptr<State> state) : _state(std::move(state)) {}

        std::string_view name() const override { return _state->name; }
        std::vector<AudioDeviceInfo> devices() override {
            return _state->read([](State& state) {
                std::vector<AudioDeviceInfo> devices;
                if (state.isThere) devices.push_back({.name = state.name, .format = state.format, .isDefault = true});
                return devices;
            });
        }
        std::unique_ptr<AudioStream> open(const std::string& deviceName, const AudioStreamWish& wish,
                                          Error& error) override {
            std::unique_lock lock(_state->mutex);
            _state->condition.wait(lock, [this] { return !_state->isHanging; });
            if (!_state->isThere || (!deviceName.empty() && deviceName != _state->name)) {
                error = {"AudioDevice", 1, "it is not there"};
                return nullptr;
            }
            ++_state->timesOpened;
            _state->wishedPeriod = wish.periodFrames;
            return std::make_unique<Stream>(_state, _state->format);
        }

      private:
        const std::shared_ptr<State> _state;
    };

    const std::shared_ptr<State> _state;
};

}  // namespace zelvane
