#include "lab/program/protocol.h"

#include <charconv>
#include <type_traits>

#include "lab/tools/text_escape.h"

namespace lab {
namespace {

// Every field of a struct, in the order in which it goes over the socket. Both directions use the
// same list, so that they cannot differ.
template <typename Visit>
void fields_visit(MeshStatus& mesh, Visit&& visit) {
    visit(mesh.title);
    visit(mesh.seconds);
    visit(mesh.steps_done);
    visit(mesh.steps);
    visit(mesh.failed);
    visit(mesh.last_failed);
    visit(mesh.violations);
    visit(mesh.known);
    visit(mesh.last_violation);
    visit(mesh.seed);
}

template <typename Visit>
void fields_visit(NodeStatus& node, Visit&& visit) {
    visit(node.name);
    visit(node.is_root);
    visit(node.power);
    visit(node.role);
    visit(node.uplink);
    visit(node.parent);
    visit(node.hops);
    visit(node.service_aps_up);
    visit(node.service_aps);
    visit(node.led);
    visit(node.root_address);
    visit(node.status_text);
    visit(node.outage);
    visit(node.outages);
    visit(node.outage_all);
    visit(node.worker_pid);
    visit(node.cpu_ms);
    visit(node.resident_kb);
    visit(node.messages_dropped);
    visit(node.aps_silenced);
    visit(node.has_cable);
}

template <typename Visit>
void fields_visit(LinkStatus& link, Visit&& visit) {
    visit(link.interface);
    visit(link.state);
    visit(link.state_name);
    visit(link.seconds);
    visit(link.losses);
    visit(link.parked);
    visit(link.carries);
}

template <typename Visit>
void fields_visit(ServerStatus& server, Visit&& visit) {
    visit(server.speed);
    visit(server.paused);
    visit(server.hurries);
    visit(server.stalled);
}

struct FieldWriter {
    std::vector<std::string> words;

    void operator()(const std::string& text) {
        words.push_back(text);
    }
    void operator()(bool truth) {
        words.emplace_back(truth ? "1" : "0");
    }
    void operator()(double number) {
        words.push_back(std::to_string(number));
    }
    void operator()(NodePower power) {
        words.push_back(std::to_string(static_cast<int>(power)));
    }
    template <typename Number>
    requires std::is_integral_v<Number>
    void operator()(Number number) {
        words.push_back(std::to_string(number));
    }
};

template <typename Number>
Number number_read(const std::string& word) {
    Number number{};
    const auto [end, failure] = std::from_chars(word.data(), word.data() + word.size(), number);
    return failure == std::errc{} && end == word.data() + word.size() ? number : Number{};
}

struct FieldReader {
    const std::vector<std::string>& words;
    std::size_t at = 1;  // behind the name of the line

    const std::string& next() {
        static const std::string NOTHING;
        return at < words.size() ? words[at++] : NOTHING;
    }
    void operator()(std::string& text) {
        text = next();
    }
    void operator()(bool& truth) {
        truth = next() == "1";
    }
    void operator()(double& number) {
        number = number_read<double>(next());
    }
    void operator()(NodePower& power) {
        const int number = number_read<int>(next());
        power = number == 2 ? NodePower::ON : number == 1 ? NodePower::BOOTING : NodePower::OFF;
    }
    template <typename Number>
    requires std::is_integral_v<Number>
    void operator()(Number& number) {
        number = number_read<Number>(next());
    }
};

template <typename Struct>
std::string line_of(const char* name, const Struct& value) {
    FieldWriter writer;
    writer.words.emplace_back(name);
    Struct copy = value;
    fields_visit(copy, writer);
    return request_line(writer.words);
}

}  // namespace

std::string request_line(const std::vector<std::string>& words) {
    std::vector<std::string> escaped;
    for (const std::string& word : words) {
        escaped.push_back(text_escape(word));
    }
    return text_join(escaped, "\t");
}

std::vector<std::string> request_words(std::string_view line) {
    std::vector<std::string> words;
    for (const std::string_view piece : text_split(line, '\t')) {
        words.push_back(text_unescape(piece));
    }
    return words;
}

std::string answer_text(const Answer& answer) {
    std::string text;
    for (const std::string& line : answer.lines) {
        text += " " + text_escape(line) + "\n";
    }
    return text + "= " + std::to_string(answer.code) + " " + text_escape(answer.text) + "\n";
}

bool AnswerReader::line_take(std::string_view line) {
    if (line.starts_with(' ')) {
        answer_.lines.push_back(text_unescape(line.substr(1)));
        return false;
    }
    if (line.size() < 4 || !line.starts_with("= ") || line[2] < '0' || line[2] > '2' ||
        line[3] != ' ') {
        broken_ = true;
        return true;
    }
    answer_.code = line[2] - '0';
    answer_.text = text_unescape(line.substr(4));
    return true;
}

bool AnswerReader::feed(std::string_view piece) {
    for (;;) {
        const std::size_t end = piece.find('\n');
        partial_.append(piece.substr(0, end));
        if (partial_.size() > LONGEST_LINE) {
            broken_ = true;
            return true;
        }
        if (end == std::string_view::npos) {
            return false;
        }
        const std::string line = std::move(partial_);
        partial_.clear();
        piece.remove_prefix(end + 1);
        if (line_take(line)) {
            return true;
        }
    }
}

std::vector<std::string> status_encode(const MeshStatus& status, const ServerStatus& server) {
    std::vector<std::string> lines = {line_of("server", server), line_of("mesh", status)};
    for (const NodeStatus& node : status.nodes) {
        lines.push_back(line_of("node", node));
        for (const LinkStatus& link : node.links) {
            lines.push_back(line_of("link", link));
        }
    }
    return lines;
}

bool status_decode(const std::vector<std::string>& lines, MeshStatus* status,
                   ServerStatus* server) {
    for (const std::string& line : lines) {
        const std::vector<std::string> words = request_words(line);
        FieldReader reader{words};
        if (words[0] == "server") {
            fields_visit(*server, reader);
        } else if (words[0] == "mesh") {
            fields_visit(*status, reader);
        } else if (words[0] == "node") {
            fields_visit(status->nodes.emplace_back(), reader);
        } else if (words[0] == "link" && !status->nodes.empty()) {
            fields_visit(status->nodes.back().links.emplace_back(), reader);
        } else {
            return false;
        }
    }
    return true;
}

}  // namespace lab
