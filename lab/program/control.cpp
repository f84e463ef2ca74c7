#include "lab/program/control.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>

#include "lab/program/arguments.h"
#include "lab/scenario/scenario_check.h"
#include "lab/scenario/scenario_step.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

using Words = std::vector<std::string>;

Outcome say(int code, std::string text) {
    return {false, {code, std::move(text), {}}, {}};
}

// As the daemon dates its lines.
std::string dated(const LogEntry& entry) {
    const std::time_t time = entry.time;
    std::tm parts{};
    std::array<char, 32> date{};
    gmtime_r(&time, &parts);
    std::strftime(date.data(), date.size(), "%a %b %e %H:%M:%S %Y", &parts);
    return std::string(date.data()) + " : " + entry.text;
}

Outcome status_request(Control* control, int /*client*/, const Words& /*words*/) {
    const Pace& pace = control->pace;
    const bool hurries = control->mesh.steps_wait() || !control->jobs.empty();
    Outcome outcome = say(EXIT_GOOD, "");
    outcome.answer.lines =
        status_encode(control->mesh.status(), {pace.speed, pace.paused, hurries, control->stalled});
    return outcome;
}

/// Takes the job as far as it goes without time passing; the answer when that is its end.
std::optional<Answer> job_go_on(Control* control, Job* job) {
    if (job->after > 0) {
        return std::nullopt;
    }
    std::string why;
    std::string note;
    switch (job->step.kind) {
        case StepKind::VERB:
            if (control->mesh.verb(job->step.verb, &note, &why) != 0) {
                return Answer{EXIT_DIFFERS, why, {}};
            }
            return Answer{EXIT_GOOD, note, {}};
        case StepKind::WAIT:
            return Answer{};
        case StepKind::CHAPTER:
        case StepKind::SAY:
            return Answer{EXIT_GOOD, job->step.text, {}};
        case StepKind::WAIT_UNTIL:
        case StepKind::EXPECT: {
            const bool holds = control->mesh.holds(job->step.condition, &why);
            const ConditionFate fate = condition_fate(job->step, holds, job->waited);
            return fate == ConditionFate::PENDING ? std::nullopt
                   : fate == ConditionFate::HELD  ? std::optional<Answer>(Answer{})
                                                  : std::optional<Answer>({EXIT_DIFFERS, why, {}});
        }
    }
    return std::nullopt;
}

Outcome do_request(Control* control, int client, const Words& words) {
    ScenarioStep step;
    std::string error;
    if (words.size() < 2) {
        return say(EXIT_USAGE, "say `do STEP`");
    }
    const std::vector<std::string> said(words.begin() + 1, words.end());
    if (!step_parse(said, control->scenario, &step, error)) {
        return say(EXIT_USAGE, error);
    }
    Job job{client, step, step.after};
    const std::optional<Answer> answer = job_go_on(control, &job);
    if (answer) {
        return {false, *answer, {}};
    }
    control->jobs.push_back(job);
    return {true, {}, {}};
}

Outcome log_request(Control* control, int /*client*/, const Words& words) {
    std::int64_t from = 0;
    std::int64_t count = 0;
    std::string error;
    if (words.size() != 4 || !word_number(words[2], std::int64_t{-1}, INT64_MAX, &from) ||
        !word_number(words[3], std::int64_t{0}, INT64_MAX, &count)) {
        return say(EXIT_USAGE, "say `log NODE FROM COUNT`");
    }
    if (!scenario_node_check(control->scenario, words[1], error)) {
        return say(EXIT_DIFFERS, error);
    }
    control_read_logs(control);
    const KeptLog& log = control->logs[words[1]];
    const auto kept = static_cast<std::int64_t>(log.lines.size());
    const std::int64_t end = log.first + kept;
    if (from < 0) {
        from = count == 0 ? log.first : std::max(log.first, end - count);
    }
    from = std::clamp(from, log.first, end);
    const std::int64_t next = std::min(end, from + static_cast<std::int64_t>(LOG_LINES_AT_ONCE));
    Outcome outcome = say(EXIT_GOOD, std::to_string(next));
    outcome.answer.lines.assign(log.lines.begin() + (from - log.first),
                                log.lines.begin() + (next - log.first));
    return outcome;
}

Outcome speed_request(Control* control, int /*client*/, const Words& words) {
    if (words.size() == 2 && (words[1] == "pause" || words[1] == "resume")) {
        control->pace.paused = words[1] == "pause";
        return say(EXIT_GOOD, "");
    }
    if (words.size() != 2 || !speed_parse(words[1], &control->pace.speed)) {
        return say(EXIT_USAGE, "say `speed N`, `speed pause` or `speed resume`");
    }
    return say(EXIT_GOOD, "");
}

Outcome enter_request(Control* control, int /*client*/, const Words& words) {
    std::string error;
    if (words.size() != 2) {
        return say(EXIT_USAGE, "say `enter NODE`");
    }
    Outcome outcome = say(EXIT_GOOD, "");
    if (!scenario_node_check(control->scenario, words[1], error) ||
        !control->mesh.enter(words[1], &outcome.descriptors, &error)) {
        return say(EXIT_DIFFERS, error);
    }
    return outcome;
}

Outcome down_request(Control* control, int /*client*/, const Words& /*words*/) {
    control->ends = true;
    return say(EXIT_GOOD, "");
}

using RequestHandler = Outcome (*)(Control* control, int client, const Words& words);

struct RequestRow {
    std::string_view name;
    RequestHandler handler;
};

constexpr std::array REQUESTS = {
    RequestRow{"status", status_request}, RequestRow{"do", do_request},
    RequestRow{"log", log_request},       RequestRow{"speed", speed_request},
    RequestRow{"enter", enter_request},   RequestRow{"down", down_request},
};

void seconds_count(Job* job) {
    if (job->after > 0) {
        --job->after;
    } else {
        ++job->waited;
    }
}

void pace_update(Control* control) {
    control->pace.steps_wait = control->mesh.steps_wait();
    control->pace.request_waits = !control->jobs.empty();
}

}  // namespace

Outcome control_request(Control* control, int client, const Words& words, std::int64_t now) {
    const auto* row =
        std::ranges::find(REQUESTS, std::string_view(words.front()), &RequestRow::name);
    if (row == REQUESTS.end()) {
        return say(EXIT_USAGE, "`" + words.front() + "` is no request");
    }
    Outcome outcome = row->handler(control, client, words);
    pace_update(control);
    pace_changed(&control->pace, now);
    return outcome;
}

std::vector<LateAnswer> control_second(Control* control, std::int64_t now) {
    std::vector<LateAnswer> answers;
    control->stalled.clear();
    if (control->mesh.second(&control->stalled) != 0) {
        // Time stands still: whoever waits would wait for ever.
        for (const Job& job : control->jobs) {
            answers.push_back({job.client, {EXIT_DIFFERS, control->stalled, {}}});
        }
        control->jobs.clear();
        control->pace.paused = true;
        pace_update(control);
        return answers;
    }
    control_read_logs(control);
    std::vector<Job> waiting;
    for (Job job : control->jobs) {
        seconds_count(&job);
        const std::optional<Answer> answer = job_go_on(control, &job);
        if (answer) {
            answers.push_back({job.client, *answer});
        } else {
            waiting.push_back(job);
        }
    }
    control->jobs = std::move(waiting);
    // Before the flags change: this second was hurried for what waited.
    pace_passed(&control->pace, now);
    pace_update(control);
    return answers;
}

void control_forget(Control* control, int client) {
    std::erase_if(control->jobs, [client](const Job& job) { return job.client == client; });
    pace_update(control);
}

void control_read_logs(Control* control) {
    for (const ScenarioNode& node : control->scenario.nodes) {
        KeptLog& log = control->logs[node.name];
        for (const LogEntry& entry : control->mesh.log_new(node.name)) {
            log.lines.push_back(dated(entry));
        }
        while (log.lines.size() > LOG_LINES_KEPT) {
            log.lines.pop_front();
            ++log.first;
        }
    }
}

}  // namespace lab
