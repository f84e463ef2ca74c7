#include "lab/demo/act_mesh.h"

#include <cstdio>

#include "lab/mesh/mesh.h"
#include "lab/mesh/mesh_evidence.h"
#include "lab/mesh/mesh_report.h"
#include "lab/mesh/player.h"
#include "lab/node/evidence.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/scenario/scenario_step.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

bool scenario_load(const std::string& path, Scenario* scenario) {
    std::string text;
    std::vector<ScenarioError> errors;
    if (!file_read(path, &text) || !scenario_parse(text, scenario, &errors)) {
        printf("cannot read %s\n%s", path.c_str(), scenario_errors_text(path, errors).c_str());
        return false;
    }
    return true;
}

Colour colour_of(const MeshEvent& event) {
    const std::string& text = event.text;
    return event.is_verb                                  ? Colour::bold
           : text == "not ready" || text == "uplink none" ? Colour::red
           : text == "ready"                              ? Colour::green
           : text.starts_with("rule ")                    ? Colour::yellow
                                                          : Colour::none;
}

class Telling {
public:
    Telling(const Mesh& mesh, const Player& player, bool in_colour)
        : mesh_(mesh), player_(player), in_colour_(in_colour) {}

    // Prints what came since the last call.
    void go_on() {
        for (; events_ < mesh_.events().size(); ++events_) {
            const MeshEvent& event = mesh_.events()[events_];
            line(event.time, event.node, event.text, colour_of(event));
        }
        for (; steps_ < player_.played().size(); ++steps_) {
            step(player_.played()[steps_]);
        }
    }

private:
    void line(std::int64_t time, const std::string& node, const std::string& text,
              Colour colour) const {
        printf("%8s  %-5s %s\n", duration_text(time).c_str(), node.c_str(),
               coloured(text, colour, in_colour_).c_str());
    }

    void step(const PlayedStep& played) const {
        const ScenarioStep& step = mesh_.scenario().steps[played.step];
        if (step.kind == StepKind::WAIT || step.kind == StepKind::VERB) {
            return;
        }
        const std::string what = condition_print(step.condition);
        line(played.time, "", (played.good ? "seen      " : "NOT SEEN  ") + what,
             played.good ? Colour::grey : Colour::red);
        if (!played.good) {
            line(played.time, "", "          " + played.text, Colour::red);
        }
    }

    const Mesh& mesh_;
    const Player& player_;
    bool in_colour_;
    std::size_t events_ = 0;
    std::size_t steps_ = 0;
};

int play(Mesh& mesh, Player& player, bool in_colour, std::string& error) {
    Telling telling(mesh, player, in_colour);
    PlayState state = player.go_on(error);
    while (state == PlayState::PLAYING) {
        if (mesh.second(error) != 0) {
            return -1;
        }
        state = player.go_on(error);
        telling.go_on();
    }
    return state == PlayState::DONE && player.failures() == 0 ? 0 : -1;
}

void tables_print(const Mesh& mesh, const Player& player, bool in_colour) {
    const MeshStatus status = mesh_status(mesh, &player);
    printf("\n%s\n", coloured("The mesh at the end", Colour::bold, in_colour).c_str());
    printf("%s", table_text(status_table(status), in_colour).c_str());
    printf("\n%s\n", coloured("What happened", Colour::bold, in_colour).c_str());
    printf("%s", table_text(happened_table(mesh), in_colour).c_str());
    printf("\n%s\n", coloured("Outages", Colour::bold, in_colour).c_str());
    printf("%s", table_text(outages_table(mesh), in_colour).c_str());
}

}  // namespace

int act_mesh(const MeshOptions& options, const std::string& scenario_file, bool in_colour) {
    Scenario scenario;
    std::string error;
    if (!scenario_load(scenario_file, &scenario)) {
        return 1;
    }
    printf("\n%s\n", coloured("A whole mesh: " + scenario.title, Colour::bold, in_colour).c_str());
    const std::unique_ptr<Mesh> mesh = Mesh::make(scenario, options, error);
    if (mesh == nullptr) {
        printf("cannot make the mesh: %s\n", error.c_str());
        return 1;
    }
    Player player(*mesh);
    const bool played = play(*mesh, player, in_colour, error) == 0;
    tables_print(*mesh, player, in_colour);
    const MeshStatus status = mesh_status(*mesh, &player);
    const bool good = played && status.violations == 0;
    printf("\n%s: %s of the mesh's time, %d rules held, %d known breaches\n",
           coloured(good ? "as expected" : "NOT as expected", good ? Colour::green : Colour::red,
                    in_colour)
               .c_str(),
           duration_text(mesh->passed()).c_str(), static_cast<int>(RULE_NAMES.size()),
           static_cast<int>(status.known));
    if (!good) {
        const std::string folder = evidence_folder("mesh", options.programs + "/../evidence");
        mesh_evidence_write(*mesh, folder);
        printf("%s%s%sevidence: %s\n", error.c_str(), error.empty() ? "" : "\n",
               violations_text(*mesh).c_str(), folder.c_str());
    }
    return good ? 0 : 1;
}

}  // namespace lab
