#include "lab/program/control.h"

#include <algorithm>
#include <array>
#include <optional>

#include "lab/rules/link_tracker.h"
#include "lab/scenario/scenario_check.h"
#include "lab/scenario/step_values.h"
#include "link/link_state.h"

namespace lab {
namespace {

Outcome say(HttpStatus status, const std::string& text = "") {
    return {false, answer_say(status, text)};
}

Json status_of(Control& control) {
    MeshStatus status = control.mesh.status();
    status.pace = {speed_text(control.pace.speed), control.pace.paused,
                   control.mesh.steps_wait() || !control.jobs.empty(), control.stalled};
    return status_json(status);
}

Outcome node_request(Control& control, const std::string& name) {
    Json status = status_of(control);
    Json& nodes = status["nodes"];
    const auto found =
        std::ranges::find_if(nodes, [&name](const Json& node) { return node["name"] == name; });
    nodes = found == nodes.end() ? Json::array() : Json::array({*found});
    return {false, {HttpStatus::good, status}};
}

/// Takes the job as far as it goes without time passing; the answer when that is its end.
std::optional<Answer> job_go_on(Control& control, const Job& job) {
    if (job.after > 0) {
        return std::nullopt;
    }
    std::string why;
    std::string note;
    switch (job.step.kind) {
        case StepKind::verb:
            return control.mesh.verb(job.step.verb, note, why)
                       ? answer_say(HttpStatus::good, note)
                       : answer_say(HttpStatus::differs, why);
        case StepKind::wait:
            return answer_say(HttpStatus::good, "");
        case StepKind::chapter:
        case StepKind::say:
        case StepKind::always:
        case StepKind::never:
        case StepKind::mark:
        case StepKind::remember:
            return answer_say(HttpStatus::good, job.step.text);
        case StepKind::wait_until:
        case StepKind::expect: {
            const bool holds = control.mesh.holds(job.step.condition, why);
            switch (condition_fate(job.step, holds, job.waited)) {
                case ConditionFate::pending:
                    return std::nullopt;
                case ConditionFate::held:
                    return answer_say(HttpStatus::good, "");
                case ConditionFate::failed:
                    return answer_say(HttpStatus::differs, why);
            }
        }
    }
    return std::nullopt;
}

Outcome step_request(Control& control, int client, const Json& body) {
    std::vector<std::string> words;
    const auto said = body.find("words");
    const bool is_list = said != body.end() && said->is_array() && !said->empty();
    for (const Json& word : is_list ? *said : Json::array()) {
        if (word.is_string()) {
            words.push_back(word.get<std::string>());
        }
    }
    if (!is_list || words.size() != said->size()) {
        return say(HttpStatus::bad_request, "`words` has to be a list of texts, those of a step");
    }
    ScenarioStep step;
    std::string error;
    if (!step_parse(words, control.scenario, &step, error)) {
        return say(HttpStatus::bad_request, error);
    }
    constexpr std::array TO_LATER_STEPS = {StepKind::always, StepKind::never, StepKind::mark,
                                           StepKind::remember};
    if (std::ranges::find(TO_LATER_STEPS, step.kind) != TO_LATER_STEPS.end() ||
        !step.words.empty()) {
        return say(HttpStatus::bad_request,
                   "always, never, mark, remember and $NAME lead from one step of a scenario to "
                   "another: write them there");
    }
    const Job job{client, step, step.after};
    const std::optional<Answer> answer = job_go_on(control, job);
    if (answer) {
        return {false, *answer};
    }
    control.jobs.push_back(job);
    return {true, {}};
}

Outcome log_request(Control& control, const ApiCall& call) {
    control_read_news(control);
    const Kept<LogEntry>& log = control.logs[call.node];
    const std::int64_t end = log.next();
    const std::int64_t wanted = call.last >= 0 ? end - call.last : call.from;
    const std::int64_t from = std::clamp(wanted, log.first, end);
    const std::int64_t next = std::min(end, from + static_cast<std::int64_t>(LOG_LINES_AT_ONCE));
    Json lines = Json::array();
    for (std::int64_t number = from; number < next; ++number) {
        const LogEntry& entry = log.entries[static_cast<std::size_t>(number - log.first)];
        lines.push_back({{"time", entry.time},
                         {"seconds", entry.time - control.started},
                         {"text", entry.text}});
    }
    return {false, {HttpStatus::good, {{"lines", lines}, {"next", next}}}};
}

Json verbs_json() {
    Json verbs = Json::array();
    for (const VerbRow& row : verb_table()) {
        verbs.push_back({{"name", row.name}, {"usage", row.usage}, {"help", row.help}});
    }
    return {{"verbs", verbs}};
}

Json lines_of(const Control& control, const ApiCall& call) {
    const auto last = call.last >= 0 ? static_cast<std::size_t>(call.last) : COMMAND_LINES_USUAL;
    return control.mesh.lines(call.node, std::min(last, LOG_LINES_AT_ONCE));
}

Outcome speed_request(Control& control, const Json& body) {
    const auto speed = body.find("speed");
    const auto paused = body.find("paused");
    double wanted = control.pace.speed;
    std::string error = "say `speed`, a text, or `paused`, true or false";
    if ((speed == body.end() && paused == body.end()) ||
        (paused != body.end() && !paused->is_boolean()) ||
        (speed != body.end() &&
         (!speed->is_string() || !speed_parse(speed->get<std::string>(), wanted, error)))) {
        return say(HttpStatus::bad_request, error);
    }
    control.pace.speed = wanted;
    control.pace.paused = paused != body.end() ? paused->get<bool>() : control.pace.paused;
    return say(HttpStatus::good);
}

Outcome enter_request(Control& control, const std::string& node) {
    NodeEntrance entrance;
    std::string error;
    if (!control.mesh.enter(node, entrance, error)) {
        return say(HttpStatus::differs, error);
    }
    return {false, {HttpStatus::good, {{"pid", entrance.pid}, {"space", entrance.space}}}};
}

Outcome request_answer(Control& control, int client, const ApiCall& call) {
    std::string error;
    if (!call.node.empty() && !scenario_node_check(control.scenario, call.node, error)) {
        return say(HttpStatus::not_found, error);
    }
    switch (call.action) {
        case ApiAction::api:
            return {false, {HttpStatus::good, api_json()}};
        case ApiAction::status:
            return {false, {HttpStatus::good, status_of(control)}};
        case ApiAction::links:
            return {false, {HttpStatus::good, control.mesh.links()}};
        case ApiAction::steps:
            return {false, {HttpStatus::good, control.mesh.steps()}};
        case ApiAction::verbs:
            return {false, {HttpStatus::good, verbs_json()}};
        case ApiAction::lines:
            return {false, {HttpStatus::good, lines_of(control, call)}};
        case ApiAction::files:
            return {false, {HttpStatus::good, control.mesh.files(call.node)}};
        case ApiAction::node:
            return node_request(control, call.node);
        case ApiAction::log:
            return log_request(control, call);
        case ApiAction::enter:
            return enter_request(control, call.node);
        case ApiAction::step:
            return step_request(control, client, call.body);
        case ApiAction::speed:
            return speed_request(control, call.body);
        case ApiAction::events:
            return say(HttpStatus::good);
        case ApiAction::down:
            control.ends = true;
            return {true, {}};
    }
    return say(HttpStatus::not_found, "no such request");
}

void seconds_count(Job& job) {
    if (job.after > 0) {
        --job.after;
    } else {
        ++job.waited;
    }
}

void pace_update(Control& control) {
    control.pace.steps_wait = control.mesh.steps_wait();
    control.pace.request_waits = !control.jobs.empty();
}

void log_event_add(Control& control, const std::string& node, const LogEntry& entry) {
    const std::int64_t seconds = entry.time - control.started;
    control.events.add({"log", seconds, node, entry.text}, EVENTS_KEPT);
    if (const auto change = state_change_parse(entry.text)) {
        const std::string text = change->interface + " from " + link_state_name(change->from) +
                                 " to " + link_state_name(change->requested);
        control.events.add({"state", seconds, node, text}, EVENTS_KEPT);
    }
}

}  // namespace

Outcome control_request(Control& control, int client, const ApiCall& call, std::int64_t now) {
    Outcome outcome = request_answer(control, client, call);
    pace_update(control);
    pace_changed(control.pace, now);
    return outcome;
}

std::vector<LateAnswer> control_second(Control& control, std::int64_t now) {
    std::vector<LateAnswer> answers;
    control.stalled.clear();
    if (!control.mesh.second(control.stalled)) {
        // Time stands still: whoever waits would wait for ever.
        for (const Job& job : control.jobs) {
            answers.push_back({job.client, answer_say(HttpStatus::differs, control.stalled)});
        }
        control.jobs.clear();
        control.pace.paused = true;
        pace_update(control);
        return answers;
    }
    std::vector<Job> waiting;
    for (Job job : control.jobs) {
        seconds_count(job);
        const std::optional<Answer> answer = job_go_on(control, job);
        if (answer) {
            answers.push_back({job.client, *answer});
        } else {
            waiting.push_back(job);
        }
    }
    control.jobs = std::move(waiting);
    control_read_news(control);
    // Before the flags change: this second was hurried for what waited.
    pace_passed(control.pace, now);
    pace_update(control);
    return answers;
}

void control_forget(Control& control, int client) {
    std::erase_if(control.jobs, [client](const Job& job) { return job.client == client; });
    control.pace.request_waits = !control.jobs.empty();
}

void control_read_news(Control& control) {
    for (const ScenarioNode& node : control.scenario.nodes) {
        for (const LogEntry& entry : control.mesh.log_new(node.name)) {
            control.logs[node.name].add(entry, LOG_LINES_KEPT);
            log_event_add(control, node.name, entry);
        }
    }
    for (const StatusEvent& event : control.mesh.events_new()) {
        control.events.add(event, EVENTS_KEPT);
    }
}

std::string control_event(const Control& control, std::int64_t& from) {
    const Kept<StatusEvent>& events = control.events;
    StatusEvent event;
    const std::int64_t number = from;
    if (from >= events.next()) {
        return {};
    }
    if (from < events.first) {
        event.kind = "lost";
        event.text = std::to_string(events.first - from) + " events are kept no longer";
        from = events.first;
    } else {
        event = events.entries[static_cast<std::size_t>(from - events.first)];
        ++from;
    }
    return json_text(json_versioned({{"number", number},
                                     {"kind", event.kind},
                                     {"seconds", event.seconds},
                                     {"node", event.node},
                                     {"text", event.text}})) +
           "\n";
}

}  // namespace lab
