// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Library.h"

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/event/event.h>
#include <lv2/midi/midi.h>
#include <lv2/patch/patch.h>
#include <lv2/port-groups/port-groups.h>
#include <lv2/port-props/port-props.h>
#include <lv2/resize-port/resize-port.h>
#include <lv2/state/state.h>
#include <lv2/units/units.h>

#include <algorithm>
#include <cmath>

namespace zelvane {

namespace {

using Library = Lv2World::Library;
using Kind = Lv2Port::Kind;
using Role = Lv2Port::Role;
using Type = Lv2WritableProperty::Type;

constexpr const char* kLabel = "http://www.w3.org/2000/01/rdf-schema#label";
constexpr const char* kRange = "http://www.w3.org/2000/01/rdf-schema#range";
constexpr const char* kSchema = "http://www.w3.org/2001/XMLSchema#";
constexpr const char* kFreewheeling = LV2_CORE_PREFIX "freeWheeling";
constexpr float kUsualRate = 48000;  // for the few ranges that are given in parts of the sample rate

/// One port of a plug-in, and what can be asked of it.
class PortReader {
  public:
    PortReader(Library& library, const LilvPlugin* plugin, std::uint32_t index)
        : _library(library), _plugin(plugin), _port(lilv_plugin_get_port_by_index(plugin, index)), _index(index) {}

    bool isA(const char* type) const { return lilv_port_is_a(_plugin, _port, _library.node(type)); }
    bool has(const char* property) const { return lilv_port_has_property(_plugin, _port, _library.node(property)); }
    bool supports(const char* event) const { return lilv_port_supports_event(_plugin, _port, _library.node(event)); }
    LilvNodeOwner value(const char* predicate) const {
        return LilvNodeOwner(lilv_port_get(_plugin, _port, _library.node(predicate)));
    }
    bool isDesignated(const char* role) const {
        const LilvNodeOwner designation = value(LV2_CORE__designation);
        return designation != nullptr && lilv_node_equals(designation.get(), _library.node(role));
    }

    Lv2Port port() const;
    UnitParameter parameter() const;

  private:
    Kind kind() const;
    Role role() const;
    std::string unit() const;
    std::string group() const;
    void readRange(UnitParameter& parameter) const;
    void readValueNames(UnitParameter& parameter) const;

    Library& _library;
    const LilvPlugin* _plugin;
    const LilvPort* _port;
    std::uint32_t _index;
};

Kind PortReader::kind() const {
    if (isA(LV2_CORE__ControlPort)) return Kind::control;
    if (isA(LV2_CORE__AudioPort)) return Kind::audio;
    if (isA(LV2_CORE__CVPort)) return Kind::cv;
    if (isA(LV2_ATOM__AtomPort)) return Kind::atom;
    if (isA(LV2_EVENT__EventPort)) return Kind::event;
    return Kind::unknown;
}

Role PortReader::role() const {
    if (isDesignated(LV2_PORT_GROUPS__left)) return Role::left;
    if (isDesignated(LV2_PORT_GROUPS__right)) return Role::right;
    if (isDesignated(LV2_CORE__latency) || has(LV2_CORE__reportsLatency)) return Role::latency;
    if (isDesignated(LV2_CORE__enabled)) return Role::enabled;
    return isDesignated(kFreewheeling) ? Role::freewheeling : Role::none;
}

Lv2Port PortReader::port() const {
    const LilvNode* symbol = lilv_port_get_symbol(_plugin, _port);
    Lv2Port port{.index = _index, .symbol = symbol == nullptr ? "" : lilv_node_as_string(symbol)};
    port.kind = kind();
    port.role = role();
    port.isInput = isA(LV2_CORE__InputPort);
    port.mayStayOpen = has(LV2_CORE__connectionOptional);
    port.takesMIDI = supports(LV2_MIDI__MidiEvent);
    port.takesPatches = supports(LV2_PATCH__Message);
    port.isMainControl = isDesignated(LV2_CORE__control);
    const LilvNodeOwner size = value(LV2_RESIZE_PORT__minimumSize);
    if (size != nullptr && lilv_node_is_int(size.get()))
        port.leastSize = static_cast<std::uint32_t>(std::max(lilv_node_as_int(size.get()), 0));
    if (port.kind == Kind::control) port.defaultValue = parameter().defaultValue;
    return port;
}

UnitParameter PortReader::parameter() const {
    UnitParameter parameter{.id = _index};
    if (const LilvNode* symbol = lilv_port_get_symbol(_plugin, _port)) parameter.symbol = lilv_node_as_string(symbol);
    const LilvNodeOwner name(lilv_port_get_name(_plugin, _port));
    parameter.name = name == nullptr ? parameter.symbol : lilv_node_as_string(name.get());
    parameter.unit = unit();
    parameter.group = group();
    parameter.isInteger = has(LV2_CORE__integer);
    parameter.isToggled = has(LV2_CORE__toggled);
    parameter.isLogarithmic = has(LV2_PORT_PROPS__logarithmic);
    readRange(parameter);
    if (has(LV2_CORE__enumeration)) readValueNames(parameter);
    return parameter;
}

std::string PortReader::unit() const {
    const LilvNodeOwner unit = value(LV2_UNITS__unit);
    return unit == nullptr ? std::string() : _library.text(unit.get(), LV2_UNITS__symbol);
}

std::string PortReader::group() const {
    const LilvNodeOwner group = value(LV2_PORT_GROUPS__group);
    if (group == nullptr) return {};
    const std::string name = _library.text(group.get(), LV2_CORE__name);
    return name.empty() ? _library.text(group.get(), kLabel) : name;
}

void PortReader::readRange(UnitParameter& parameter) const {
    LilvNode *standard = nullptr, *least = nullptr, *most = nullptr;
    lilv_port_get_range(_plugin, _port, &standard, &least, &most);
    const LilvNodeOwner standardOwner(standard), leastOwner(least), mostOwner(most);
    const float factor = has(LV2_CORE__sampleRate) ? kUsualRate : 1;
    const auto number = [](const LilvNode* node, float otherwise) {
        const bool isNumber = node != nullptr && (lilv_node_is_int(node) || lilv_node_is_float(node));
        const float value = isNumber ? lilv_node_as_float(node) : otherwise;
        return std::isfinite(value) ? value : otherwise;
    };
    const float low = number(least, 0) * factor;
    const float high = number(most, 1) * factor;
    parameter.minimum = std::min(low, high);
    parameter.maximum = std::max(low, high);
    parameter.defaultValue = std::clamp(number(standard, low), parameter.minimum, parameter.maximum);
}

void PortReader::readValueNames(UnitParameter& parameter) const {
    const LilvScalePointsOwner points(lilv_port_get_scale_points(_plugin, _port));
    LILV_FOREACH(scale_points, place, points.get()) {
        const LilvScalePoint* point = lilv_scale_points_get(points.get(), place);
        parameter.valueNames.emplace_back(lilv_node_as_float(lilv_scale_point_get_value(point)),
                                          lilv_node_as_string(lilv_scale_point_get_label(point)));
    }
    std::sort(parameter.valueNames.begin(), parameter.valueNames.end());
}

bool isParameter(const Lv2Port& port) {
    return port.kind == Kind::control && port.isInput && port.role != Role::enabled && port.role != Role::freewheeling;
}

Type typeOf(const std::string& range) {
    const std::pair<std::string, Type> types[] = {{LV2_ATOM__Int, Type::integer},
                                                  {LV2_ATOM__Bool, Type::boolean},
                                                  {LV2_ATOM__Float, Type::real},
                                                  {LV2_ATOM__Long, Type::longInteger},
                                                  {LV2_ATOM__Double, Type::doubleReal},
                                                  {LV2_ATOM__Path, Type::path},
                                                  {LV2_ATOM__String, Type::text},
                                                  {LV2_ATOM__URI, Type::uri},
                                                  {kSchema + std::string("int"), Type::integer},
                                                  {kSchema + std::string("boolean"), Type::boolean},
                                                  {kSchema + std::string("float"), Type::real},
                                                  {kSchema + std::string("long"), Type::longInteger},
                                                  {kSchema + std::string("double"), Type::doubleReal},
                                                  {kSchema + std::string("string"), Type::text},
                                                  {kSchema + std::string("anyURI"), Type::uri}};
    const auto* place =
        std::find_if(std::begin(types), std::end(types), [&](const auto& t) { return t.first == range; });
    return place == std::end(types) ? Type::other : place->second;
}

std::vector<Lv2WritableProperty> writableProperties(Library& library, const LilvPlugin* plugin) {
    std::vector<Lv2WritableProperty> properties;
    const LilvNodesOwner nodes(lilv_world_find_nodes(library.world.get(), lilv_plugin_get_uri(plugin),
                                                     library.node(LV2_PATCH__writable), nullptr));
    LILV_FOREACH(nodes, place, nodes.get()) {
        const LilvNode* node = lilv_nodes_get(nodes.get(), place);
        if (!lilv_node_is_uri(node)) continue;
        Lv2WritableProperty& property = properties.emplace_back();
        property.uri = lilv_node_as_uri(node);
        property.label = library.text(node, kLabel);
        property.type = typeOf(library.text(node, kRange));
        const LilvNodeOwner standard = library.object(node, LV2_CORE__default);
        if (standard != nullptr && (lilv_node_is_int(standard.get()) || lilv_node_is_float(standard.get())))
            property.defaultValue = static_cast<double>(lilv_node_as_float(standard.get()));
    }
    std::sort(properties.begin(), properties.end(), [](const auto& a, const auto& b) { return a.uri < b.uri; });
    return properties;
}

std::vector<std::string> uris(LilvNodes* list) {
    const LilvNodesOwner owner(list);
    std::vector<std::string> uris;
    LILV_FOREACH(nodes, place, list) {
        const LilvNode* node = lilv_nodes_get(list, place);
        if (lilv_node_is_uri(node)) uris.emplace_back(lilv_node_as_uri(node));
    }
    return uris;
}

bool offersFeature(Library& library, const LilvPlugin* plugin, const char* feature) {
    return lilv_plugin_has_feature(plugin, library.node(feature));
}

}  // namespace

Lv2Plugin readLv2Plugin(Library& library, const LilvPlugin* plugin) {
    Lv2Plugin result;
    result.uri = lilv_node_as_uri(lilv_plugin_get_uri(plugin));
    const LilvNodeOwner name(lilv_plugin_get_name(plugin));
    if (name != nullptr) result.name = lilv_node_as_string(name.get());
    result.bundle = library.path(lilv_plugin_get_bundle_uri(plugin)).parent_path();
    result.binary = library.path(lilv_plugin_get_library_uri(plugin));
    result.isOfInstrumentClass = lilv_node_equals(lilv_plugin_class_get_uri(lilv_plugin_get_class(plugin)),
                                                  library.node(LV2_CORE__InstrumentPlugin));
    result.hasDefaultState = library.object(lilv_plugin_get_uri(plugin), LV2_STATE__state) != nullptr;
    result.restoresThreadSafely = offersFeature(library, plugin, LV2_STATE__threadSafeRestore);
    result.requiredFeatures = uris(lilv_plugin_get_required_features(plugin));
    for (std::uint32_t index = 0; index < lilv_plugin_get_num_ports(plugin); ++index) {
        const PortReader reader(library, plugin, index);
        result.ports.push_back(reader.port());
        if (isParameter(result.ports.back())) result.parameters.push_back(reader.parameter());
    }
    result.writableProperties = writableProperties(library, plugin);
    return result;
}

}  // namespace zelvane
