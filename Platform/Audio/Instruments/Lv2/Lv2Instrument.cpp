// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Instrument.h"

#include "Platform/Audio/Instruments/Lv2/Editor/Lv2Editor.h"
#include "Platform/Audio/Instruments/Lv2/Editor/Lv2EditorFeed.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Instance.h"
#include "Platform/Audio/Instruments/Lv2/Lv2InstrumentFactory.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Properties.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Renderer.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Source.h"
#include "Platform/Audio/Instruments/Lv2/RunGate.h"
#include "Platform/Audio/RealtimeScope.h"
#include "Platform/Foundation/Log.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace zelvane {

namespace {

using Dictionary = PropertyList::Dictionary;

constexpr std::int64_t kCurrentVersion = 1;
constexpr double kTailSeconds = 5;  // nothing tells; longer than most releases and echoes
constexpr Duration kLongestBlock = std::chrono::seconds(1);
constexpr double kLeastRate = 8000;
constexpr double kMostRate = 768000;

/// The rate that was wanted last: new instances are made for it, so that they need not be made again.
std::atomic<double>& usualRate() {
    static std::atomic<double> rate{48000};
    return rate;
}

std::unique_ptr<std::atomic<float>[]> defaultValues(const Lv2Plugin& plugin) {
    auto values = std::make_unique<std::atomic<float>[]>(plugin.parameters.size());
    for (std::size_t i = 0; i < plugin.parameters.size(); ++i) values[i] = plugin.parameters[i].defaultValue;
    return values;
}

template <typename Value>
const Value* entry(const Dictionary& dictionary, const char* key) {
    const auto place = dictionary.find(key);
    return place == dictionary.end() ? nullptr : std::get_if<Value>(&place->second.value);
}

}  // namespace

std::unique_ptr<Instrument> makeLv2Instrument(const Lv2Entry& entry, Error& error) {
    return Lv2Instrument::make(entry, error);
}

std::unique_ptr<Lv2Instrument> Lv2Instrument::make(const Lv2Entry& entry, Error& error) {
    auto source = Lv2Source::load(entry, error);
    if (source == nullptr) return nullptr;
    std::unique_ptr<Lv2Instrument> instrument(new Lv2Instrument(std::move(source), entry.bendCents));
    auto instance = instrument->makeInstance(usualRate(), error);
    if (instance == nullptr) return nullptr;
    instrument->_sampleRate = instance->sampleRate();
    instrument->_renderer->replace(std::move(instance));
    instrument->_watch.emplace(static_cast<Lv2Watched&>(*instrument));
    return instrument;
}

Lv2Instrument::Lv2Instrument(std::shared_ptr<Lv2Source> source, std::optional<double> bendCents)
    : _source(std::move(source)),
      _values(defaultValues(_source->plugin())),
      _patches(_source->plugin()),
      _editorFeed(std::make_unique<Lv2EditorFeed>(_source->plugin())),
      _gate(std::make_unique<RunGate>()),
      _health(std::make_unique<Lv2Health>()),
      _renderer(std::make_unique<Lv2Renderer>(_source->plugin(), bendCents,
                                              std::span(_values.get(), _source->plugin().parameters.size()), _patches,
                                              *_editorFeed, *_health)),
      _properties(lv2Properties(*this)) {}

Lv2Instrument::~Lv2Instrument() {
    _watch.reset();
    releaseProperty(_presetName);
}

std::unique_ptr<Lv2Instance> Lv2Instrument::makeInstance(double sampleRate, Error& error) {
    auto instance = Lv2Instance::make(_source, sampleRate, error);
    if (instance != nullptr && _source->plugin().hasDefaultState)
        instance->applyState(_source->plugin().uri,
                             [this](const std::string& symbol, float value) { setControl(symbol, value); });
    return instance;
}

OSStatus Lv2Instrument::prepare(double sampleRate, std::uint32_t) {
    if (!(sampleRate >= kLeastRate && sampleRate <= kMostRate)) return kAudioUnitErr_FailedInitialization;
    usualRate() = sampleRate;
    const std::lock_guard lock(_mutex);
    return sampleRate == _sampleRate ? kNoError : rebuild(sampleRate);
}

// The new instance comes to the old one's state; what messages and parameters made stands outside of both.
OSStatus Lv2Instrument::rebuild(double sampleRate) {
    const PropertyList::Dictionary state = _renderer->instance()->savedState();
    const PropertyList::Dictionary values = parameterValues();
    Error error;
    auto instance = makeInstance(sampleRate, error);
    setParameterValues(values);
    if (instance == nullptr) {
        Log::write("LV2: [%@] %@", {"prepare", error.description});
        return kAudioUnitErr_FailedInitialization;
    }
    if (!state.empty()) instance->restore(state);
    _renderer->replace(std::move(instance));
    _sampleRate = sampleRate;
    ++_rebuilds;
    _patches.ask();
    return kNoError;
}

std::span<const UnitParameter> Lv2Instrument::parameters() const {
    return _source->plugin().parameters;
}

std::optional<float> Lv2Instrument::parameterValue(std::size_t index) const noexcept {
    return _values[index].load(std::memory_order_relaxed);
}

void Lv2Instrument::setParameter(std::size_t index, float value) noexcept {
    _values[index].store(value, std::memory_order_relaxed);
    _renderer->wake();
}

double Lv2Instrument::latencySeconds() const {
    return std::max(static_cast<double>(_latencyFrames.load(std::memory_order_relaxed)), 0.0) / _sampleRate;
}

double Lv2Instrument::tailSeconds() const {
    return kTailSeconds;
}

RenderResult Lv2Instrument::render(std::span<const TimedMIDI> events, float* left, float* right,
                                   std::uint32_t frames) noexcept {
    const RealtimeScope scope;
    if (!_gate->enter()) return {0, true};
    if (_mustSilence.exchange(false, std::memory_order_acquire)) _renderer->endSound();
    if (_mustSendBends.exchange(false, std::memory_order_acquire)) _renderer->sendBendsAgain();
    const RenderResult result = _renderer->render(events, left, right, frames);
    _latencyFrames.store(_renderer->instance()->ports().latencyFrames(), std::memory_order_relaxed);
    _gate->leave();
    return result;
}

template <typename Change>
OSStatus Lv2Instrument::changeWhileStill(const Change& change) {
    if (!_gate->close(kLongestBlock)) {
        Log::write("LV2: [%@] %@ does not come to the end of a block", {"restore", _source->plugin().name});
        return kAudioUnitErr_Uninitialized;
    }
    const RunGate::Reopening reopening{*_gate};
    const OSStatus status = change(*_renderer->instance());
    _mustSendBends.store(true, std::memory_order_release);
    _patches.ask();
    return status;
}

void Lv2Instrument::setControl(const std::string& symbol, float value) {
    const auto& parameters = _source->plugin().parameters;
    const auto place =
        std::find_if(parameters.begin(), parameters.end(), [&](const auto& p) { return p.symbol == symbol; });
    if (place == parameters.end() || !std::isfinite(value)) return;
    _values[static_cast<std::size_t>(place - parameters.begin())].store(
        std::clamp(value, place->minimum, place->maximum), std::memory_order_relaxed);
}

void Lv2Instrument::setDefaults() {
    for (const UnitParameter& parameter : _source->plugin().parameters)
        setControl(parameter.symbol, parameter.defaultValue);
}

PropertyList::Dictionary Lv2Instrument::parameterValues() const {
    Dictionary values;
    const auto& parameters = _source->plugin().parameters;
    for (std::size_t i = 0; i < parameters.size(); ++i)
        values[parameters[i].symbol] = {static_cast<double>(_values[i].load(std::memory_order_relaxed))};
    return values;
}

// Whole numbers may have become integers on their way through a file.
void Lv2Instrument::setParameterValues(const PropertyList::Dictionary& values) {
    setDefaults();
    for (const auto& [symbol, list] : values) {
        if (const auto* real = std::get_if<double>(&list.value)) setControl(symbol, static_cast<float>(*real));
        if (const auto* whole = std::get_if<std::int64_t>(&list.value)) setControl(symbol, static_cast<float>(*whole));
    }
}

PropertyList Lv2Instrument::classInfo() {
    const std::lock_guard lock(_mutex);
    return {Dictionary{{"uri", {_source->plugin().uri}},
                       {"version", {kCurrentVersion}},
                       {"preset", {_presentPreset}},
                       {"parameters", {parameterValues()}},
                       {"state", {_renderer->instance()->savedState()}}}};
}

OSStatus Lv2Instrument::restore(const PropertyList& classInfo) {
    const auto* info = std::get_if<Dictionary>(&classInfo.value);
    const auto* uri = info == nullptr ? nullptr : entry<std::string>(*info, "uri");
    if (uri == nullptr || *uri != _source->plugin().uri) return kAudioUnitErr_InvalidPropertyValue;
    const auto* version = entry<std::int64_t>(*info, "version");
    const auto* values = entry<Dictionary>(*info, "parameters");
    const auto* state = entry<Dictionary>(*info, "state");
    const auto* preset = entry<std::string>(*info, "preset");
    if (version == nullptr || *version != kCurrentVersion || values == nullptr || state == nullptr)
        return kAudioUnitErr_InvalidPropertyValue;
    const std::lock_guard lock(_mutex);
    return changeWhileStill([&](Lv2Instance& instance) {
        setParameterValues(*values);
        if (!state->empty()) instance.restore(*state);
        _presentPreset = preset == nullptr ? std::string() : *preset;
        return kNoError;
    });
}

std::vector<std::string> Lv2Instrument::presetNames() const {
    std::vector<std::string> names;
    for (const auto& preset : _source->presets()) names.push_back(preset.name);
    return names;
}

std::int32_t Lv2Instrument::presentPreset() const {
    const std::lock_guard lock(_mutex);
    if (_presentPreset.empty()) return -1;
    const auto& presets = _source->presets();
    const auto place = std::find_if(presets.begin(), presets.end(),
                                    [this](const auto& preset) { return preset.uri == _presentPreset; });
    return place == presets.end() ? -1 : static_cast<std::int32_t>(place - presets.begin());
}

PropertyReference Lv2Instrument::presentPresetName() {
    const std::int32_t number = presentPreset();
    const PropertyReference name = retainProperty(
        PropertyList{number < 0 ? std::string() : _source->presets()[static_cast<std::size_t>(number)].name});
    const std::lock_guard lock(_mutex);
    releaseProperty(std::exchange(_presetName, name));
    return name;
}

OSStatus Lv2Instrument::selectPreset(std::int32_t number) {
    const auto& presets = _source->presets();
    if (number < 0 || static_cast<std::size_t>(number) >= presets.size()) return kAudioUnitErr_InvalidPropertyValue;
    const std::string& uri = presets[static_cast<std::size_t>(number)].uri;
    const std::lock_guard lock(_mutex);
    return changeWhileStill([&](Lv2Instance& instance) {
        const bool isDone =
            instance.applyState(uri, [this](const std::string& symbol, float value) { setControl(symbol, value); });
        if (!isDone) return kAudioUnitErr_InvalidPropertyValue;
        _presentPreset = uri;
        return kNoError;
    });
}

Lv2Instrument::Faults Lv2Instrument::faults() const {
    const std::lock_guard lock(_mutex);
    Lv2Instance& instance = *_renderer->instance();
    return {.mutedBlocks = _health->mutedBlocks.load(std::memory_order_relaxed),
            .slowRuns = _health->slowRuns.load(std::memory_order_relaxed),
            .lostWork = instance.worker().lost(),
            .lostNews = instance.log().lost() + _patches.lost()};
}

void Lv2Instrument::setPropertyHandler(const std::function<void(AudioUnitPropertyID)>& handler) {
    const std::lock_guard lock(_handlerMutex);
    _propertyHandler = handler;
}

bool Lv2Instrument::hasNativeEditor() {
    return _source->editorFiles().has_value();
}

std::unique_ptr<NativeEditor> Lv2Instrument::openNativeEditor(const NativeEditor::Host& host, Error& error) {
    std::unique_lock lock(_mutex);
    const auto instance = _renderer->sharedInstance();
    const auto isPresent = [this, rebuilds = _rebuilds.load()] { return _rebuilds == rebuilds; };
    lock.unlock();
    return Lv2Editor::open(*_source, {instance, *_editorFeed, _patches, isPresent}, host, error);
}

void Lv2Instrument::tellChanges() {
    const auto ranks = _patches.takeChanged();
    if (ranks.empty()) return;
    // Held meanwhile, so that who takes the handler away need not fear a late call.
    const std::lock_guard lock(_handlerMutex);
    if (_propertyHandler == nullptr) return;
    for (const std::size_t rank : ranks) _propertyHandler(kFirstLv2Property + static_cast<AudioUnitPropertyID>(rank));
}

void Lv2Instrument::tellNews() {
    tellChanges();
    tellOnce(_health->mutedBlocks, _source->told().muting, "puts out what is no sound and is muted where it does");
    tellOnce(_health->slowRuns, _source->told().slowness, "takes longer to render than its sound lasts");
    const std::unique_lock lock(_mutex, std::try_to_lock);  // else the next time
    if (lock.owns_lock()) _renderer->instance()->log().tell();
}

void Lv2Instrument::tellOnce(const std::atomic<std::uint64_t>& counter, std::atomic<bool>& isTold, const char* what) {
    if (counter.load(std::memory_order_relaxed) == 0 || isTold.exchange(true, std::memory_order_relaxed)) return;
    Log::write("LV2: [%@] %@ %@", {"render", _source->plugin().name, what});
}

}  // namespace zelvane
