// Where the engine of a problem's class has a search of its own, that is used (of linear problems). For all others this
// is a deletion filter (Chinneck and Dravnieks 1991): a member without which the rest is infeasible still is left out
// for good. Members are taken out in chunks that grow while that goes well and are halved when it does not, after the
// divide and conquer of QuickXplain (Junker 2004): few needed among many members take few solves each.
#include "engine/iis.h"

#include "engine/attempts.h"
#include "engine/choose.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace tso::engine {
namespace {

// A trial that takes longer than this, or than so many times the first solve, counts its members as needed: the
// subsystem stays infeasible, but may then be reducible.
constexpr double kLongestTrial = 10, kLongestTrialFactor = 20;
constexpr double kQuietSeconds = 1; // between lines in the log

struct Member {
    enum Kind { Row, Set, Indicator, Bounds } kind;
    int index;
    bool gone = false;
};

// The model with nothing to optimise, and with defaults for all that could end a run early.
std::unique_ptr<Model> constraints_of(const Model& model) {
    std::unique_ptr<Model> part = model.copy();
    part->solution = Solution();
    const int n = part->cols().size();
    const std::vector<double> zero(n, 0.0), none(n, TSO_UNDEFINED);
    part->set_cost(n, nullptr, zero.data());
    part->set_start(n, nullptr, none.data());
    part->clear_quadratic();
    for (size_t k = 0; k < part->psdvars().size(); ++k)
        part->set_psd_cost(static_cast<int>(k), {});
    Params plain;
    const Params& p = model.env.params();
    plain.set_int(Param::OutputFlag, 0);
    for (Param kept : {Param::NumThreads, Param::NumericFocus, Param::Presolve})
        plain.set_int(kept, p.get_int(kept));
    for (Param kept : {Param::SPX_PrimalTolerance, Param::SPX_DualTolerance, Param::IPM_PrimalTolerance,
                       Param::IPM_DualTolerance, Param::IPM_GapTolerance, Param::MIP_IntegerTolerance})
        plain.set_double(kept, p.get_double(kept));
    part->env.replace(plain);
    return part;
}

// Puts back what trials change in a run.
class RunOfTrials {
public:
    explicit RunOfTrials(Run& run) : run_(run), callback_(run.callback), max_seconds_(run.max_seconds) {
        run.callback = nullptr; // it knows the whole model
    }
    ~RunOfTrials() {
        run_.callback = callback_;
        run_.max_seconds = max_seconds_;
    }
    RunOfTrials(const RunOfTrials&) = delete;
    RunOfTrials& operator=(const RunOfTrials&) = delete;
    void allow(double seconds) { run_.max_seconds = std::min(max_seconds_, run_.elapsed() + seconds); }
    void allow_all() { run_.max_seconds = max_seconds_; }
    bool is_over() const { return run_.interrupt.load() || run_.elapsed() >= max_seconds_; }

private:
    Run& run_;
    Callback* callback_;
    double max_seconds_;
};

class Filter {
public:
    Filter(Model& model, Run& run, double last_seconds)
        : model_(model), run_(run), trials_(run), log_(model.env.log()), constraints_(constraints_of(model)),
          longest_trial_(std::max(kLongestTrial, kLongestTrialFactor * last_seconds)) {
        gather();
    }
    bool whole_is_feasible() {
        trials_.allow_all();
        return try_rest() == Outcome::Feasible;
    }
    int find(Solution& result);

private:
    enum class Outcome { Infeasible, Feasible, Open };

    void gather();
    Outcome try_rest();
    void tell(size_t decided, size_t needed);
    void report(Solution& result) const;
    std::string named(Member::Kind kind) const;

    Model& model_;
    Run& run_;
    RunOfTrials trials_;
    Log& log_;
    const std::unique_ptr<Model> constraints_;
    const double longest_trial_;
    std::vector<Member> members_;
    size_t bounds_begin_ = 0; // where those members begin
    double next_line_ = kQuietSeconds;
    int cut_short_ = 0;
};

void Filter::gather() {
    const Rows& rows = model_.rows();
    const Columns& cols = model_.cols();
    for (int i = 0; i < rows.size(); ++i)
        if (rows.lower[i] > -TSO_INFINITY || rows.upper[i] < TSO_INFINITY)
            members_.push_back({Member::Row, i});
    for (size_t k = 0; k < model_.sos().size(); ++k)
        members_.push_back({Member::Set, static_cast<int>(k)});
    std::vector<char> switches(cols.size(), 0); // their bounds are part of what an indicator means
    for (size_t k = 0; k < model_.indicators().size(); ++k) {
        members_.push_back({Member::Indicator, static_cast<int>(k)});
        switches[model_.indicators()[k].binvar] = 1;
    }
    bounds_begin_ = members_.size();
    for (int j = 0; j < cols.size(); ++j)
        if (!switches[j] && (model_.effective_lower(j) > -TSO_INFINITY || model_.effective_upper(j) < TSO_INFINITY))
            members_.push_back({Member::Bounds, j});
}

// The model without the members that are gone.
Filter::Outcome Filter::try_rest() {
    const std::unique_ptr<Model> part = constraints_->copy();
    std::vector<int> rows, sets, indicators;
    const double low = -TSO_INFINITY, high = TSO_INFINITY;
    for (const Member& m : members_) {
        if (!m.gone)
            continue;
        switch (m.kind) {
        case Member::Row:
            rows.push_back(m.index);
            break;
        case Member::Set:
            sets.push_back(m.index);
            break;
        case Member::Indicator:
            indicators.push_back(m.index);
            break;
        case Member::Bounds: // without them a binary variable is an integer, a semi-continuous one a plain one
            const char type = part->cols().type[m.index];
            const char plain = type == TSO_CONTINUOUS || type == TSO_SEMICONT ? TSO_CONTINUOUS : TSO_INTEGER;
            part->set_type(1, &m.index, &plain);
            part->set_lower(1, &m.index, &low);
            part->set_upper(1, &m.index, &high);
            break;
        }
    }
    part->delete_rows(static_cast<int>(rows.size()), rows.data());
    part->delete_sos(static_cast<int>(sets.size()), sets.data());
    part->delete_indicators(static_cast<int>(indicators.size()), indicators.data());
    Solution found;
    const int code = run_engines(*part, run_, false, found);
    if (code == TSO_OKAY && (found.status == TSO_STATUS_INFEASIBLE || found.status == TSO_STATUS_INF_OR_UBD))
        return Outcome::Infeasible; // with nothing to optimise there is no "or unbounded"
    if (code == TSO_OKAY && (found.status == TSO_STATUS_OPTIMAL || found.status == TSO_STATUS_UNBOUNDED))
        return Outcome::Feasible;
    return Outcome::Open;
}

void Filter::tell(size_t decided, size_t needed) {
    if (run_.elapsed() < next_line_)
        return;
    next_line_ = run_.elapsed() + kQuietSeconds;
    log_.printf("Infeasible subsystem: %zu of %zu members decided, %zu needed, %.1f s", decided, members_.size(),
                needed, run_.elapsed());
}

int Filter::find(Solution& result) {
    next_line_ = run_.elapsed() + kQuietSeconds;
    size_t at = 0, needed = 0, chunk = std::max<size_t>(1, bounds_begin_ / 4);
    while (at < members_.size() && !trials_.is_over()) {
        tell(at, needed);
        const size_t limit = at < bounds_begin_ ? bounds_begin_ : members_.size(); // rows and bounds not in one chunk
        const size_t end = std::min(limit, at + chunk);
        const auto leave_out = [&](bool gone) {
            for (size_t k = at; k < end; ++k)
                members_[k].gone = gone;
        };
        leave_out(true);
        trials_.allow(longest_trial_);
        const Outcome outcome = try_rest();
        if (outcome == Outcome::Infeasible) {
            at = end;
            chunk = std::max<size_t>(1, std::min(chunk * 2, members_.size() / 4));
            continue;
        }
        leave_out(false);
        if (end - at > 1) {
            chunk = (end - at) / 2;
            continue;
        }
        if (trials_.is_over())
            break;
        cut_short_ += outcome == Outcome::Open;
        ++at;
        ++needed;
    }
    report(result);
    if (at == members_.size())
        return TSO_OKAY;
    return run_.interrupt.load() ? TSO_ABORT_INTERRUPTED : TSO_ABORT_TIME_LIMIT;
}

std::string Filter::named(Member::Kind kind) const {
    std::string text, scratch;
    for (const Member& m : members_) {
        if (m.kind != kind || m.gone)
            continue;
        if (!text.empty())
            text += ", ";
        if (kind == Member::Set)
            text += std::to_string(m.index);
        else
            text += model_.indicator_names().text(m.index, scratch);
    }
    return text;
}

void Filter::report(Solution& result) const {
    result.iis_row.assign(model_.rows().size(), 0);
    result.iis_col.assign(model_.cols().size(), 0);
    for (const Member& m : members_) {
        if (m.kind == Member::Row)
            result.iis_row[m.index] = !m.gone;
        else if (m.kind == Member::Bounds)
            result.iis_col[m.index] = !m.gone;
    }
    if (const std::string sets = named(Member::Set); !sets.empty())
        log_.line("Special ordered sets of the subsystem: " + sets + ".");
    if (const std::string indicators = named(Member::Indicator); !indicators.empty())
        log_.line("Indicator constraints of the subsystem: " + indicators + ".");
    if (cut_short_ > 0)
        log_.printf("%d members may be needless: the engines could not tell, or not in %.0f s.", cut_short_,
                    longest_trial_);
}

} // namespace

int find_iis(Model& model, Run& run, double last_seconds, Solution& result) {
    Features features = features_of(model, false);
    features.quadratic_objective = false; // what is infeasible does not depend on it
    features.convex = true;
    const Params& p = model.env.params();
    if (run.callback || (features.discrete() && std::fabs(p.get_double(Param::MIP_Cutoff)) < TSO_INFINITY)) {
        if (Filter(model, run, last_seconds).whole_is_feasible()) {
            model.env.log().line("The model by itself is feasible: what makes it infeasible is MIP/Cutoff, or rows of "
                                 "a callback.");
            return TSO_IIS_NO_SOLN;
        }
    }
    for (EngineId id : class_of(features).engines) {
        if (!is_built_in(id))
            continue;
        const int code = make_engine(id)->iis(model, run, result);
        if (code != TSO_IIS_NO_SOLN)
            return code;
        break;
    }
    return Filter(model, run, last_seconds).find(result);
}

} // namespace tso::engine
