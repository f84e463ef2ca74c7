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
        case EffectKind::LINK_UP:
        case EffectKind::LINK_DOWN:
            return both + " link " + (effect.kind == EffectKind::LINK_UP ? "up" : "down") + " to " +
                   name_of(air, effect.peer) + " " + effect.peer_interface;
        case EffectKind::STATION_JOINED:
            return both + " joined " + effect.mac;
        case EffectKind::STATION_LOST:
            return both + " lost its AP";
        case EffectKind::CLIENT_JOINED:
            return both + " has client " + effect.mac;
        case EffectKind::CLIENT_LEFT:
            return both + " lost client " + effect.mac;
        case EffectKind::CHANNEL:
            return both + " on channel " + std::to_string(effect.number);
        case EffectKind::AP_UP:
            return both + " on the air";
        case EffectKind::AP_DOWN:
            return both + " silent";
        case EffectKind::NOL:
            return node + " non-occupancy list" + numbers_text(effect.numbers);
        case EffectKind::FILE:
            return node + " file " + effect.path;
        case EffectKind::DATABASE:
            return node + " database";
        case EffectKind::FIFO:
            return node + " fifo " + effect.text;
        case EffectKind::UCI:
            return node + " uci " + effect.path + "=" + effect.text;
        case EffectKind::NODE_STOP:
            return node + " stops";
        case EffectKind::NODE_START:
            return node + " starts";
        case EffectKind::WORKER_SIGNAL:
            return node + " worker gets signal " + std::to_string(effect.number);
        case EffectKind::HYD_END:
            return node + " hyd ends";
        case EffectKind::SUPPLICANT_END:
            return node + " supplicant ends";
        case EffectKind::MESSAGES_OFF:
            return node + " messages off";
        case EffectKind::MESSAGES_ON:
            return node + " messages on";
    }
    return {};
}

std::vector<std::string> effect_texts(const Air& air, const Effects& effects) {
    std::vector<std::string> texts;
    for (const Effect& effect : effects) {
        texts.push_back(effect_text(air, effect));
    }
    return texts;
}

Effect effect_on(EffectKind kind, int node) {
    Effect effect;
    effect.kind = kind;
    effect.node = node;
    return effect;
}

Effect effect_file(int node, std::string path, std::string text) {
    Effect effect = effect_on(EffectKind::FILE, node);
    effect.path = std::move(path);
    effect.text = std::move(text);
    return effect;
}

Effect effect_fifo(int node, std::string word) {
    Effect effect = effect_on(EffectKind::FIFO, node);
    effect.text = std::move(word);
    return effect;
}

Effect effect_uci(int node, std::string key, std::string value) {
    Effect effect = effect_on(EffectKind::UCI, node);
    effect.path = std::move(key);
    effect.text = std::move(value);
    return effect;
}

}  // namespace lab
