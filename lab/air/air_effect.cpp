#include "lab/air/air_effect.h"

namespace lab {
namespace {

std::string name_of(const Air& air, int node) {
    return node >= 0 && node < static_cast<int>(air.nodes.size())
               ? air.nodes[static_cast<std::size_t>(node)].name
               : "nobody";
}

std::string numbers_text(const std::vector<int>& numbers) {
    std::string text;
    for (const int number : numbers) {
        text += " " + std::to_string(number);
    }
    return text.empty() ? " empty" : text;
}

}  // namespace

std::string effect_text(const Air& air, const Effect& effect) {
    const std::string node = name_of(air, effect.node);
    const std::string both = node + " " + effect.interface;
    switch (effect.kind) {
        case EffectKind::link_up:
        case EffectKind::link_down:
            return both + " link " + (effect.kind == EffectKind::link_up ? "up" : "down") + " to " +
                   name_of(air, effect.peer) + " " + effect.peer_interface;
        case EffectKind::station_joined:
            return both + " joined " + effect.mac;
        case EffectKind::station_lost:
            return both + " lost its AP";
        case EffectKind::client_joined:
            return both + " has client " + effect.mac;
        case EffectKind::client_left:
            return both + " lost client " + effect.mac;
        case EffectKind::channel:
            return both + " on channel " + std::to_string(effect.number);
        case EffectKind::ap_up:
            return both + " on the air";
        case EffectKind::ap_down:
            return both + " silent";
        case EffectKind::nol:
            return node + " non-occupancy list" + numbers_text(effect.numbers);
        case EffectKind::file:
            return node + " file " + effect.path;
        case EffectKind::database:
            return node + " database";
        case EffectKind::fifo:
            return node + " fifo " + effect.text;
        case EffectKind::uci:
            return node + " uci " + effect.path + "=" + effect.text;
        case EffectKind::node_stop:
            return node + " stops";
        case EffectKind::node_start:
            return node + " starts";
        case EffectKind::worker_signal:
            return node + " worker gets signal " + std::to_string(effect.number);
        case EffectKind::hyd_end:
            return node + " hyd ends";
        case EffectKind::supplicant_end:
            return node + " supplicant ends";
        case EffectKind::messages_off:
            return node + " messages off";
        case EffectKind::messages_on:
            return node + " messages on";
    }
    return {};
}

Effect effect_on(EffectKind kind, int node) {
    Effect effect;
    effect.kind = kind;
    effect.node = node;
    return effect;
}

Effect effect_file(int node, std::string path, std::string text) {
    Effect effect = effect_on(EffectKind::file, node);
    effect.path = std::move(path);
    effect.text = std::move(text);
    return effect;
}

Effect effect_fifo(int node, std::string word) {
    Effect effect = effect_on(EffectKind::fifo, node);
    effect.text = std::move(word);
    return effect;
}

Effect effect_uci(int node, std::string key, std::string value) {
    Effect effect = effect_on(EffectKind::uci, node);
    effect.path = std::move(key);
    effect.text = std::move(value);
    return effect;
}

}  // namespace lab
