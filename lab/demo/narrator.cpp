#include "lab/demo/narrator.h"

#include <cstdio>

#include "lab/mesh/mesh.h"
#include "lab/mesh/mesh_evidence.h"
#include "lab/mesh/mesh_report.h"
#include "lab/mesh/player.h"
#include "lab/node/evidence.h"
#include "lab/scenario/scenario_step.h"

namespace lab {
namespace {

Colour colour_of(const MeshEvent& event) {
    const std::string& text = event.text;
    return event.is_verb                                  ? Colour::bold
           : text == "not ready" || text == "uplink none" ? Colour::red
           : text == "ready"                              ? Colour::green
           : text.starts_with("rule ")                    ? Colour::yellow
                                                          : Colour::none;
}

class Narrator {
public:
    Narrator(const Mesh& mesh, const Player& player, Tale* tale)
        : mesh_(mesh), player_(player), tale_(tale) {}

    // Prints what came since the last call: all in the order of its time, and of one second what
    // was done and followed before what was found.
    void go_on() {
        const std::vector<MeshEvent>& events = mesh_.events();
        for (; steps_ < player_.played().size(); ++steps_) {
            const PlayedStep& played = player_.played()[steps_];
            events_until(played.event);
            step(played);
        }
        events_until(events.size());
    }

private:
    void events_until(std::size_t end) {
        for (; events_ < end; ++events_) {
            const MeshEvent& event = mesh_.events()[events_];
            line(event.time, event.node, event.text, colour_of(event));
        }
    }

    void line(std::int64_t time, const std::string& node, const std::string& text, Colour colour) {
        printf("%8s  %-5s %s\n", duration_text(time).c_str(), node.c_str(),
               coloured(text, colour, tale_->in_colour).c_str());
    }

    void step(const PlayedStep& played) {
        const ScenarioStep& step = mesh_.scenario().steps[played.step];
        switch (step.kind) {
            case StepKind::chapter:
                printf("\n%s\n", coloured(step.text, Colour::bold, tale_->in_colour).c_str());
                return;
            case StepKind::say:
                ++tale_->steps;
                printf("%8s  %s\n", duration_text(played.time).c_str(),
                       coloured(step.text, Colour::bold, tale_->in_colour).c_str());
                return;
            case StepKind::wait_until:
            case StepKind::expect:
            case StepKind::always:
            case StepKind::never:
                condition(played, step);
                return;
            case StepKind::verb:
            case StepKind::wait:
            case StepKind::mark:
            case StepKind::remember:
                return;
        }
    }

    void condition(const PlayedStep& played, const ScenarioStep& step) {
        const std::string lasting =
            step.lasting == 0 ? "" : ", for " + std::to_string(step.lasting) + " seconds";
        if (played.good) {
            ++tale_->evidence;
            const bool is_of_all = step.condition.node == ALL_NODES;
            line(played.time, "",
                 "seen      " + (is_of_all ? condition_print(step.condition) : played.text) +
                     lasting,
                 Colour::grey);
        } else {
            line(played.time, "", "NOT SEEN  " + step_print(step), Colour::red);
            line(played.time, "", "          " + played.text, Colour::red);
        }
    }

    const Mesh& mesh_;
    const Player& player_;
    Tale* tale_;
    std::size_t events_ = 0;
    std::size_t steps_ = 0;
};

// A tale ends with the first condition that does not hold: what follows would be told of a mesh
// that is not as the tale says.
bool play(Mesh& mesh, Player& player, Tale* tale, std::string& error) {
    Narrator narrator(mesh, player, tale);
    PlayState state = player.go_on(error);
    narrator.go_on();
    while (state == PlayState::playing && player.failures() == 0) {
        if (!mesh.second(error)) {
            return false;
        }
        state = player.go_on(error);
        narrator.go_on();
    }
    return state == PlayState::done && player.failures() == 0;
}

void tables_print(const Mesh& mesh, const Player& player, bool in_colour) {
    const auto print = [in_colour](const std::string& title, const Table& table) {
        printf("\n%s\n%s", coloured(title, Colour::bold, in_colour).c_str(),
               table_text(table, in_colour).c_str());
    };
    print("The mesh at the end", status_table(mesh_status(mesh, &player)));
    print("What happened", happened_table(mesh));
    print("Outages", outages_table(mesh));
}

}  // namespace

bool scenario_tell(const Scenario& scenario, const ProgramPlace& place, bool is_last, Tale* tale,
                   std::string& error) {
    const std::unique_ptr<Mesh> mesh =
        Mesh::make(scenario, mesh_options_of(place, scenario), error);
    if (mesh == nullptr) {
        return false;
    }
    Player player(*mesh);
    const bool played = play(*mesh, player, tale, error);
    if (is_last) {
        tables_print(*mesh, player, tale->in_colour);
        if (!tale->logs.path().empty() && !mesh_logs_write(*mesh, tale->logs.path())) {
            error += "the logs cannot be written to " + tale->logs.name() + "\n";
        }
    }
    const MeshStatus status = mesh_status(*mesh, &player);
    printf("\n%s: %s of the mesh's time, %zu rules held, %lld known breaches\n",
           scenario.title.c_str(), duration_text(mesh->passed()).c_str(), RULE_NAMES.size(),
           static_cast<long long>(status.known));
    if (played && status.violations == 0) {
        return true;
    }
    error += (error.empty() ? "" : "\n") + violations_text(*mesh);
    EvidenceFolder folder;
    std::string refused;
    if (evidence_folder_make(tale->left, "demonstration", &folder, refused)) {
        mesh_evidence_write(*mesh, folder.path);
    }
    error += "evidence: " + (folder.name.empty() ? refused : folder.name);
    return false;
}

}  // namespace lab
