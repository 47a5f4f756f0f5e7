// Irreducible infeasible subsystems. Of linear problems HiGHS finds them itself. It does not of problems that are
// infeasible through integrality only; there members are left out, many at a time at first, as long as what remains is
// infeasible.
#include "engine/check.h"
#include "engine/highs/engine.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {
namespace {

// A trial of the filter that takes longer than this counts its members as needed: the subsystem stays infeasible,
// though it may then be reducible.
constexpr double kLongestTrial = 2;

struct Problem { // constraints only
    int n = 0, m = 0;
    std::vector<HighsInt> begin, index, type;
    std::vector<double> value, lower, upper, row_lower, row_upper;
};

Problem problem_of(const Model& model) {
    Problem p;
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    p.n = cols.size();
    p.m = rows.size();
    for (int j = 0; j < p.n; ++j) {
        p.lower.push_back(model.effective_lower(j));
        p.upper.push_back(model.effective_upper(j));
        const char type = cols.type[j];
        p.type.push_back(type == TSO_CONTINUOUS || type == TSO_SEMICONT ? kHighsVarTypeContinuous
                                                                        : kHighsVarTypeInteger);
    }
    p.row_lower = rows.lower;
    p.row_upper = rows.upper;
    for (int i = 0; i < p.m; ++i) {
        p.begin.push_back(static_cast<HighsInt>(p.index.size()));
        const auto c = rows.matrix.columns_of(i);
        const auto v = rows.matrix.values_of(i);
        p.index.insert(p.index.end(), c.begin(), c.end());
        p.value.insert(p.value.end(), v.begin(), v.end());
    }
    p.begin.push_back(static_cast<HighsInt>(p.index.size()));
    return p;
}

struct Iis {
    int code = TSO_IIS_NO_SOLN;
    std::vector<int8_t> col, row;
};

void on_poll(int type, const char*, const HighsCallbackDataOut*, HighsCallbackDataIn* in, void* user) {
    const bool asks = type == kHighsCallbackSimplexInterrupt || type == kHighsCallbackIpmInterrupt ||
                      type == kHighsCallbackMipInterrupt;
    if (in)
        in->user_interrupt = asks && static_cast<StopFlag*>(user)->stop.load();
}

// The work of one search, on a worker.
struct Search {
    std::shared_ptr<StopFlag> flag;
    std::shared_ptr<Iis> result;
    Problem problem;
    std::vector<char> semi; // empty if no variable is semi-continuous
    bool discrete = false;
    double feasibility = 1e-7, integrality = 1e-6;
    Run::Clock::time_point begin;
    double max_seconds = TSO_INFINITY;
    int threads = 1;

    void operator()();

private:
    double left() const { return max_seconds - std::chrono::duration<double>(Run::Clock::now() - begin).count(); }
    bool over() const { return flag->stop.load() || left() <= 0; }
    void prepare(HighsObject& highs) const;
    bool of_one_element();
    bool of_relaxation();
    void by_deletion(bool among_members);
};

void Search::prepare(HighsObject& highs) const {
    Highs_setCallback(highs.get(), on_poll, flag.get());
    for (int event : {kHighsCallbackSimplexInterrupt, kHighsCallbackIpmInterrupt, kHighsCallbackMipInterrupt})
        Highs_startCallback(highs.get(), event);
    highs.set("primal_feasibility_tolerance", feasibility);
    highs.set("mip_feasibility_tolerance", integrality);
    highs.set("threads", threads);
}

// Bounds that cross, or have no integer between them; sides that cross.
bool Search::of_one_element() {
    const Problem& p = problem;
    for (int j = 0; j < p.n; ++j) {
        if (!semi.empty() && semi[j])
            continue;
        const bool integer = p.type[j] == kHighsVarTypeInteger;
        const double lower = integer ? std::ceil(p.lower[j] - integrality) : p.lower[j] - feasibility;
        const double upper = integer ? std::floor(p.upper[j] + integrality) : p.upper[j] + feasibility;
        if (lower > upper) {
            result->col[j] = 1;
            return true;
        }
    }
    for (int i = 0; i < p.m; ++i) {
        const bool empty = p.begin[i] == p.begin[i + 1];
        if (p.row_lower[i] > p.row_upper[i] + feasibility ||
            (empty && (p.row_lower[i] > feasibility || p.row_upper[i] < -feasibility))) {
            result->row[i] = 1;
            return true;
        }
    }
    return false;
}

bool Search::of_relaxation() {
    const Problem& p = problem;
    HighsObject highs;
    void* h = highs.get();
    prepare(highs);
    std::vector<double> lower = p.lower, upper = p.upper;
    for (size_t j = 0; j < semi.size(); ++j)
        if (semi[j]) {
            lower[j] = std::min(0.0, lower[j]);
            upper[j] = std::max(0.0, upper[j]);
        }
    const std::vector<double> cost(p.n, 0.0);
    must(Highs_passLp(h, p.n, p.m, p.begin[p.m], kHighsMatrixFormatRowwise, kHighsObjSenseMinimize, 0, cost.data(),
                      lower.data(), upper.data(), p.row_lower.data(), p.row_upper.data(), p.begin.data(),
                      p.index.data(), p.value.data()),
         "the model");
    if (left() < TSO_INFINITY) {
        highs.set("time_limit", std::max(1e-3, left()));
        highs.set("iis_time_limit", std::max(1e-3, left()));
    }
    Highs_run(h);
    if (Highs_getModelStatus(h) != kHighsModelStatusInfeasible)
        return false;
    // The status arrays stay null: HiGHS reads beyond empty ones where it has found nothing.
    HighsInt cols = 0, rows = 0;
    std::vector<HighsInt> col(p.n), row(p.m), col_bound(p.n), row_bound(p.m);
    if (Highs_getIis(h, &cols, &rows, col.data(), row.data(), col_bound.data(), row_bound.data(), nullptr, nullptr) !=
        kHighsStatusOk)
        return false;
    for (HighsInt k = 0; k < rows; ++k)
        result->row[row[k]] = 1;
    for (HighsInt k = 0; k < cols; ++k)
        if (col_bound[k] != kHighsIisBoundFree) // else merely in one of the rows
            result->col[col[k]] = 1;
    return rows + cols > 0;
}

// Among all rows and bounds, or among the members of a subsystem that is infeasible already without integrality: with
// it, fewer may do.
void Search::by_deletion(bool among_members) {
    const Problem& p = problem;
    HighsObject highs;
    void* h = highs.get();
    prepare(highs);
    const double infinity = Highs_getInfinity(h);
    const std::vector<double> cost(p.n, 0.0);
    std::vector<HighsInt> type = p.type;
    for (size_t j = 0; j < semi.size(); ++j)
        if (semi[j] && !(p.lower[j] <= 0 && p.upper[j] >= 0))
            type[j] = type[j] == kHighsVarTypeInteger ? kHighsVarTypeSemiInteger : kHighsVarTypeSemiContinuous;
    must(Highs_passMip(h, p.n, p.m, p.begin[p.m], kHighsMatrixFormatRowwise, kHighsObjSenseMinimize, 0, cost.data(),
                       p.lower.data(), p.upper.data(), p.row_lower.data(), p.row_upper.data(), p.begin.data(),
                       p.index.data(), p.value.data(), type.data()),
         "the model");
    const auto leave_out = [&](int e, bool out) { // members: rows, then the bounds of columns
        if (e < p.m) {
            Highs_changeRowBounds(h, e, out ? -infinity : p.row_lower[e], out ? infinity : p.row_upper[e]);
            return;
        }
        const int j = e - p.m;
        Highs_changeColBounds(h, j, out ? -infinity : p.lower[j], out ? infinity : p.upper[j]);
        if (type[j] != p.type[j]) // a semi-continuous variable without bounds is a plain one
            Highs_changeColIntegrality(h, j, out ? p.type[j] : type[j]);
    };
    const auto infeasible = [&] {
        Highs_zeroAllClocks(h);
        highs.set("time_limit", std::max(1e-3, std::min(left(), kLongestTrial)));
        Highs_run(h);
        const int status = Highs_getModelStatus(h);
        // With nothing to minimize, "infeasible or unbounded" is infeasible.
        return status == kHighsModelStatusInfeasible || status == kHighsModelStatusUnboundedOrInfeasible;
    };
    std::vector<int> open, needed;
    const auto take = [&](int e, bool limits, int8_t member) {
        if (among_members && !member)
            leave_out(e, true);
        else if (limits)
            open.push_back(e);
    };
    for (int i = 0; i < p.m; ++i)
        take(i, p.row_lower[i] > -TSO_INFINITY || p.row_upper[i] < TSO_INFINITY, result->row[i]);
    const size_t rows = open.size();
    for (int j = 0; j < p.n; ++j)
        take(p.m + j, p.lower[j] > -TSO_INFINITY || p.upper[j] < TSO_INFINITY, result->col[j]);
    std::fill(result->row.begin(), result->row.end(), 0);
    std::fill(result->col.begin(), result->col.end(), 0);
    size_t at = 0, chunk = std::max<size_t>(1, rows / 4);
    bool complete = true;
    while (at < open.size()) {
        if (over()) {
            complete = false;
            break;
        }
        const size_t limit = at < rows ? rows : open.size(); // rows and bounds not in one chunk
        const size_t end = std::min(limit, at + chunk);
        for (size_t k = at; k < end; ++k)
            leave_out(open[k], true);
        if (infeasible()) {
            at = end;
            chunk = std::min<size_t>(chunk * 2, std::max<size_t>(1, open.size() / 4));
            continue;
        }
        for (size_t k = at; k < end; ++k)
            leave_out(open[k], false);
        if (end - at == 1)
            needed.push_back(open[at++]);
        else
            chunk = std::max<size_t>(1, (end - at) / 2);
    }
    needed.insert(needed.end(), open.begin() + at, open.end());
    for (int e : needed)
        (e < p.m ? result->row[e] : result->col[e - p.m]) = 1;
    result->code = complete ? TSO_OKAY : TSO_ABORT_TIME_LIMIT;
}

void Search::operator()() {
    if (of_one_element()) {
        result->code = TSO_OKAY;
    } else {
        const bool relaxed = of_relaxation();
        if (relaxed)
            result->code = TSO_OKAY;
        if (discrete)
            by_deletion(relaxed);
        else if (!relaxed && over())
            result->code = TSO_ABORT_TIME_LIMIT;
    }
    if (threads > 1)
        Highs_resetGlobalScheduler(1);
}

} // namespace

// Called for a model that is known to be infeasible.
int HighsEngine::iis(Model& model, Run& run, Solution& result) {
    auto flag = std::make_shared<StopFlag>();
    auto found = std::make_shared<Iis>();
    found->col.assign(model.cols().size(), 0);
    found->row.assign(model.rows().size(), 0);
    const Params& p = model.env.params();
    Search search;
    search.flag = flag;
    search.result = found;
    search.problem = problem_of(model);
    search.discrete = model.is_mip();
    for (int j = 0; search.discrete && j < model.cols().size(); ++j)
        if (is_semi(model.cols().type[j])) {
            search.semi.resize(model.cols().size(), 0);
            search.semi[j] = 1;
        }
    search.feasibility = std::max(1e-10, p.get_double(Param::SPX_PrimalTolerance));
    search.integrality = p.get_double(Param::MIP_IntegerTolerance);
    search.begin = run.begin;
    search.max_seconds = run.max_seconds;
    search.threads = std::max(1, p.get_int(Param::NumThreads));
    if (!run_on_worker(run, flag, std::move(search), [] {}))
        return run.interrupt.load() ? TSO_ABORT_INTERRUPTED : TSO_ABORT_TIME_LIMIT;
    if (found->code == TSO_OKAY || found->code == TSO_ABORT_TIME_LIMIT) {
        result.iis_col = std::move(found->col);
        result.iis_row = std::move(found->row);
    }
    if (found->code == TSO_ABORT_TIME_LIMIT && run.interrupt.load())
        return TSO_ABORT_INTERRUPTED;
    return found->code;
}

} // namespace tso::engine
