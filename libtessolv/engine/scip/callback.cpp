#include "engine/scip/callback.h"

#include "core/failure.h"
#include "engine/check.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {
namespace {

// Below all handlers of SCIP's own: a candidate has passed every other test when the callback is asked, and a row that
// was added is enforced before the same point comes back.
constexpr int kLast = -8000000;
constexpr double kCompletionSeconds = 1; // for the values that an offered solution leaves open
constexpr SCIP_Longint kCompletionNodes = 500;

ScipCallback& of(SCIP_CONSHDLR* h) { return *reinterpret_cast<ScipCallback*>(SCIPconshdlrGetData(h)); }
ScipCallback& of(SCIP_HEUR* h) { return *reinterpret_cast<ScipCallback*>(SCIPheurGetData(h)); }
ScipCallback& of(SCIP_BRANCHRULE* b) { return *reinterpret_cast<ScipCallback*>(SCIPbranchruleGetData(b)); }

SCIP_RETCODE on_enforce_lp(SCIP*, SCIP_CONSHDLR* h, SCIP_CONS**, int, int, SCIP_Bool, SCIP_RESULT* result) {
    *result = SCIP_FEASIBLE;
    return of(h).guarded([&] { of(h).enforce(*result); });
}
SCIP_RETCODE on_enforce_pseudo(SCIP*, SCIP_CONSHDLR* h, SCIP_CONS**, int, int, SCIP_Bool, SCIP_Bool infeasible,
                               SCIP_RESULT* result) {
    *result = infeasible ? SCIP_DIDNOTRUN : SCIP_FEASIBLE;
    return infeasible ? SCIP_OKAY : of(h).guarded([&] { of(h).enforce(*result); });
}
SCIP_RETCODE on_check(SCIP*, SCIP_CONSHDLR* h, SCIP_CONS**, int, SCIP_SOL* sol, SCIP_Bool, SCIP_Bool, SCIP_Bool,
                      SCIP_Bool, SCIP_RESULT* result) {
    *result = SCIP_FEASIBLE;
    return of(h).guarded([&] { of(h).check(sol, *result); });
}
SCIP_RETCODE on_lock(SCIP*, SCIP_CONSHDLR* h, SCIP_CONS*, SCIP_LOCKTYPE type, int down, int up) {
    of(h).lock(type, down + up);
    return SCIP_OKAY;
}
SCIP_RETCODE on_separate(SCIP*, SCIP_CONSHDLR* h, SCIP_CONS**, int, int, SCIP_RESULT* result) {
    *result = SCIP_DIDNOTRUN;
    return of(h).guarded([&] { of(h).separate(h, *result); });
}
SCIP_RETCODE on_heuristic(SCIP*, SCIP_HEUR* h, SCIP_HEURTIMING, SCIP_Bool, SCIP_RESULT* result) {
    *result = SCIP_DIDNOTRUN;
    return of(h).guarded([&] { of(h).look(h, *result); });
}
SCIP_RETCODE on_branch(SCIP*, SCIP_BRANCHRULE* b, SCIP_Bool, SCIP_RESULT* result) {
    *result = SCIP_DIDNOTRUN;
    return of(b).guarded([&] { of(b).split(*result); });
}

} // namespace

ScipCallback::ScipCallback(const Model& model, Run& run, ScipProblem& problem, ScipExchange& exchange, Turns& turns)
    : model_(model), run_(run), problem_(problem), exchange_(exchange), turns_(turns),
      lazy_(model.env.params().get_int(Param::MIP_EnableLazyConstr) != 0),
      tolerance_(std::max(1e-9, model.env.params().get_double(Param::SPX_PrimalTolerance))) {}

void ScipCallback::include() {
    SCIP_CONSHDLR* handler = nullptr;
    SCIP_HEUR* heuristic = nullptr;
    SCIP_BRANCHRULE* rule = nullptr;
    must(SCIPincludeConshdlrBasic(scip(), &handler, "callback", "asks the user", kLast, kLast, -1, 0, on_enforce_lp,
                                  on_enforce_pseudo, on_check, on_lock, reinterpret_cast<SCIP_CONSHDLRDATA*>(this)),
         "a callback");
    must(SCIPsetConshdlrSepa(scip(), handler, on_separate, nullptr, 1, -100, 0), "a callback");
    must(SCIPincludeHeurBasic(scip(), &heuristic, "callback", "takes the user's solutions", 'U', 10000, 1, 0, -1,
                              SCIP_HEURTIMING_BEFORENODE | SCIP_HEURTIMING_AFTERLPLOOP, 0, on_heuristic,
                              reinterpret_cast<SCIP_HEURDATA*>(this)),
         "a callback");
    must(SCIPincludeBranchruleBasic(scip(), &rule, "callback", "branches where the user wants", 1000000, -1, 1.0,
                                    reinterpret_cast<SCIP_BRANCHRULEDATA*>(this)),
         "a callback");
    must(SCIPsetBranchruleExecLp(scip(), rule, on_branch), "a callback");
    if (!lazy_)
        return;
    // Reductions that keep only some of the solutions take for granted that all rows are known.
    problem_.object.set("misc/allowstrongdualreds", false);
    problem_.object.set("misc/allowweakdualreds", false);
    problem_.object.set("misc/usesymmetry", 0);
    problem_.object.set("constraints/components/maxprerounds", 0);
    problem_.object.set("constraints/components/propfreq", -1);
}

// ---- Calls ----

void ScipCallback::call(Where where, SCIP_SOL* sol) {
    if (ended_)
        return;
    doubles_.clear();
    ints_.clear();
    presolved_.reset();
    struct Inside {
        ScipCallback& self;
        Inside(ScipCallback& s, Where where, SCIP_SOL* sol) : self(s) {
            self.where_ = where;
            self.sol_ = sol;
            self.run_.in_callback = true;
        }
        ~Inside() {
            self.run_.in_callback = false;
            self.where_ = kNowhere;
        }
    };
    bool go_on = true;
    {
        const Inside inside(*this, where, sol);
        turns_.on_caller([&] { go_on = run_.callback->call(*this, where); });
    }
    if (!go_on) {
        ended_ = true;
        SCIPinterruptSolve(scip());
    }
}

// Once, before anything else is asked.
void ScipCallback::start() {
    if (started_)
        return;
    started_ = true;
    call(kStart, nullptr);
}

void ScipCallback::ask(SCIP_SOL* sol, std::vector<double> x) {
    start();
    call(kSolution, sol);
    if (!violated(pending_, sol))
        accepted_ = std::move(x);
}

// ---- What the plugins do ----

// A candidate without a solution of its own: the relaxation's, or the one of the bounds.
void ScipCallback::enforce(SCIP_RESULT& result) {
    std::vector<double> x = values_of(nullptr);
    if (!violated(pending_, nullptr)) {
        if (x == accepted_)
            return;
        if (ended_) {
            result = lazy_ ? SCIP_INFEASIBLE : SCIP_FEASIBLE;
            return;
        }
        ask(nullptr, std::move(x));
    }
    result = violated(pending_, nullptr) ? SCIP_CONSADDED : SCIP_FEASIBLE;
    add_pending();
}

// Rows cannot be added here: they wait.
void ScipCallback::check(SCIP_SOL* sol, SCIP_RESULT& result) {
    std::vector<double> x = values_of(sol);
    if (x == accepted_)
        return;
    if (!violated(pending_, sol)) {
        if (ended_) { // nobody is asked any more
            result = lazy_ ? SCIP_INFEASIBLE : SCIP_FEASIBLE;
            return;
        }
        ask(sol, std::move(x));
    }
    if (violated(pending_, sol))
        result = SCIP_INFEASIBLE;
}

// Rows to come may push any variable either way.
void ScipCallback::lock(SCIP_LOCKTYPE type, int count) {
    if (!lazy_)
        return;
    for (size_t j = 0; j < problem_.columns; ++j)
        if (SCIP_VAR* var = transformed(static_cast<int>(j)))
            SCIPaddVarLocksType(scip(), var, type, count, count);
}

void ScipCallback::separate(SCIP_CONSHDLR* handler, SCIP_RESULT& result) {
    if (SCIPgetLPSolstat(scip()) != SCIP_LPSOLSTAT_OPTIMAL)
        return;
    start();
    result = SCIP_DIDNOTFIND;
    if (!pending_.empty()) {
        add_pending();
        result = SCIP_CONSADDED;
        return;
    }
    branching_.reset();
    call(kNode, nullptr);
    SCIP_Bool cutoff = 0;
    for (Row& cut : std::exchange(cuts_, {})) {
        if (excess(cut, nullptr) <= tolerance_)
            continue;
        SCIP_ROW* row = nullptr;
        must(SCIPcreateEmptyRowConshdlr(scip(), &row, handler, "cut", cut.lower, cut.upper, 0, 0, 1), "a cut");
        SCIPcacheRowExtensions(scip(), row);
        SCIP_RETCODE code = SCIP_OKAY;
        for (size_t k = 0; k < cut.vars.size() && code == SCIP_OKAY; ++k)
            code = SCIPaddVarToRow(scip(), row, cut.vars[k], cut.values[k]);
        SCIPflushRowExtensions(scip(), row);
        SCIP_Bool infeasible = 0;
        if (code == SCIP_OKAY)
            code = SCIPaddRow(scip(), row, 0, &infeasible);
        if (code == SCIP_OKAY)
            code = SCIPaddPoolCut(scip(), row);
        SCIPreleaseRow(scip(), &row);
        must(code, "a cut");
        cutoff |= infeasible;
        result = SCIP_SEPARATED;
    }
    if (cutoff)
        result = SCIP_CUTOFF;
    hand_over(nullptr);
}

void ScipCallback::look(SCIP_HEUR* heuristic, SCIP_RESULT& result) {
    start();
    result = hand_over(heuristic) ? SCIP_FOUNDSOL : SCIP_DIDNOTFIND;
}

void ScipCallback::split(SCIP_RESULT& result) {
    const std::optional<Branching> wanted = std::exchange(branching_, {});
    if (!wanted || wanted->node != SCIPnodeGetNumber(SCIPgetCurrentNode(scip())))
        return;
    const double down = std::floor(wanted->value), infinity = TSO_INFINITY;
    const double sides[2][2] = {{-infinity, down}, {down + 1, infinity}};
    for (int up = 0; up < 2; ++up) {
        SCIP_NODE* child = nullptr;
        const double priority = wanted->way == 0 ? 0.0 : (wanted->way > 0) == (up == 1) ? 1.0 : -1.0;
        must(SCIPcreateChild(scip(), &child, priority, SCIPgetLocalTransEstimate(scip())), "a branching");
        SCIP_CONS* side = nullptr;
        SCIP_VAR* var = wanted->var;
        double one = 1;
        must(SCIPcreateConsLinear(scip(), &side, "branch", 1, &var, &one, sides[up][0], sides[up][1], 1, 1, 1, 1, 1, 1,
                                  0, 0, 0, 1),
             "a branching");
        const SCIP_RETCODE code = SCIPaddConsNode(scip(), child, side, nullptr);
        SCIPreleaseCons(scip(), &side);
        must(code, "a branching");
    }
    result = SCIP_BRANCHED;
}

// ---- What the callback hands in ----

int ScipCallback::add_cut(int count, const int* ind, const double* val, char sense, double rhs, bool presolved) {
    if (where_ != kSolution && where_ != kNode)
        return TSO_CB_INVALID_WHERE;
    if (where_ == kSolution && !lazy_)
        return TSO_CB_INVALID_SUBMISSION;
    Row row;
    row.lower = sense == TSO_LESS_EQUAL ? -TSO_INFINITY : rhs;
    row.upper = sense == TSO_GREATER_EQUAL ? TSO_INFINITY : rhs;
    for (int k = 0; k < count; ++k)
        row.vars.push_back(variable(ind[k], presolved));
    row.values.assign(val, val + count);
    (where_ == kSolution ? pending_ : cuts_).push_back(std::move(row));
    return TSO_OKAY;
}

int ScipCallback::branch(int index, double value, int way, bool presolved) {
    if (where_ != kNode)
        return TSO_CB_INVALID_WHERE;
    SCIP_VAR* var = variable(index, presolved);
    const double down = std::floor(value);
    const bool whole = presolved ? SCIPvarIsIntegral(var) : is_whole(model_.cols().type[static_cast<size_t>(index)]);
    if (!whole || down < SCIPcomputeVarLbLocal(scip(), var) - tolerance_ ||
        down + 1 > SCIPcomputeVarUbLocal(scip(), var) + tolerance_)
        return TSO_CB_INVALID_SUBMISSION;
    branching_ = {SCIPnodeGetNumber(SCIPgetCurrentNode(scip())), var, value, way};
    return TSO_OKAY;
}

int ScipCallback::offer_solution(const double* solution, double* objective, bool presolved) {
    enum { kTaken = TSO_OKAY, kWrong = 1, kNotBetter = 2 };
    const auto answer = [&](int status, double value) {
        if (objective)
            *objective = value;
        return status;
    };
    std::vector<double> x = presolved ? in_model(solution) : std::vector<double>(solution, solution + problem_.columns);
    for (double v : x)
        if (!(std::fabs(v) <= TSO_INFINITY) && v != TSO_UNDEFINED)
            return TSO_INVALID_ARGUMENT;
    if (std::find(x.begin(), x.end(), TSO_UNDEFINED) != x.end() && !complete(x))
        return answer(kWrong, TSO_UNDEFINED);
    for (size_t j = 0; j < x.size(); ++j)
        if (is_whole(model_.cols().type[j]) && std::fabs(x[j] - std::round(x[j])) <= 1e-6)
            x[j] = std::round(x[j]);
    const double value = objective_of(model_, x);
    const Violations v = violations_of(model_, x, activity_of(model_, x));
    if (std::max(v.worst(), v.integrality.by) > 1e-6)
        return answer(kWrong, value);
    const double best = SCIPgetPrimalbound(scip());
    if (std::fabs(best) < TSO_INFINITY && model_.sense() * (best - value) <= 1e-9 * std::max(1.0, std::fabs(best)))
        return answer(kNotBetter, value);
    offers_.push_back(std::move(x));
    return answer(kTaken, value);
}

bool ScipCallback::hand_over(SCIP_HEUR* heuristic) {
    bool any = false;
    for (std::vector<double>& x : std::exchange(offers_, {})) {
        SCIP_SOL* sol = nullptr;
        must(SCIPcreateSol(scip(), &sol, heuristic), "a solution");
        scip_fill(model_, problem_, sol, x);
        SCIP_Bool stored = 0;
        must(SCIPtrySolFree(scip(), &sol, 0, 0, 1, 1, 1, &stored), "a solution");
        any |= stored != 0;
    }
    return any;
}

// By a run of its own on the rest of the problem, which must be short.
bool ScipCallback::complete(std::vector<double>& x) const {
    bool found = false;
    turns_.on_engine([&] {
        ScipProblem rest;
        scip_build(model_, rest);
        SCIP* s = rest.object.get();
        for (size_t j = 0; j < x.size(); ++j) {
            if (x[j] == TSO_UNDEFINED)
                continue;
            must(SCIPchgVarLb(s, rest.object.vars[j], x[j]), "a fixed variable");
            must(SCIPchgVarUb(s, rest.object.vars[j], x[j]), "a fixed variable");
        }
        rest.object.set("limits/time", std::clamp(run_.remaining(), 1e-3, kCompletionSeconds));
        rest.object.set("limits/nodes", kCompletionNodes);
        if (SCIPsolve(s) != SCIP_OKAY || SCIPgetNSols(s) == 0)
            return;
        must(SCIPgetSolVals(s, SCIPgetBestSol(s), static_cast<int>(x.size()), rest.object.vars_data(), x.data()),
             "a solution");
        found = true;
    });
    return found;
}

// ---- Small things ----

std::vector<double> ScipCallback::values_of(SCIP_SOL* sol) const {
    std::vector<double> x(problem_.columns);
    must(SCIPgetSolVals(scip(), sol, static_cast<int>(x.size()), problem_.object.vars_data(), x.data()), "a solution");
    return x;
}

SCIP_VAR* ScipCallback::transformed(int column) const {
    SCIP_VAR* var = nullptr;
    SCIPgetTransformedVar(scip(), problem_.object.vars[static_cast<size_t>(column)], &var);
    return var;
}

SCIP_VAR* ScipCallback::variable(int index, bool presolved) const {
    const int count = presolved ? SCIPgetNVars(scip()) : static_cast<int>(problem_.columns);
    if (index < 0 || index >= count)
        throw Failure(TSO_MODEL_INVALID_COL_IDX);
    return presolved ? SCIPgetVars(scip())[index] : transformed(index);
}

double ScipCallback::excess(const Row& row, SCIP_SOL* sol) const {
    double sum = 0, scale = 1;
    for (size_t k = 0; k < row.vars.size(); ++k) {
        const double term = row.values[k] * SCIPgetSolVal(scip(), sol, row.vars[k]);
        sum += term;
        scale = std::max(scale, std::fabs(term));
    }
    return std::max(row.lower - sum, sum - row.upper) / scale;
}

bool ScipCallback::violated(const std::vector<Row>& rows, SCIP_SOL* sol) const {
    return std::any_of(rows.begin(), rows.end(), [&](const Row& row) { return excess(row, sol) > tolerance_; });
}

void ScipCallback::add_pending() {
    for (Row& row : std::exchange(pending_, {})) {
        SCIP_CONS* lazy = nullptr;
        must(SCIPcreateConsLinear(scip(), &lazy, "lazy", static_cast<int>(row.vars.size()), row.vars.data(),
                                  row.values.data(), row.lower, row.upper, 0, 1, 1, 1, 1, 0, 0, 0, 1, 0),
             "a lazy constraint");
        problem_.object.add(lazy);
    }
}

// What a solution of the presolved problem is in the model; open where one of its columns is.
std::vector<double> ScipCallback::in_model(const double* presolved) const {
    SCIP_SOL* sol = nullptr;
    must(SCIPcreateSol(scip(), &sol, nullptr), "a solution");
    const int count = SCIPgetNVars(scip());
    bool all = true;
    for (int j = 0; j < count; ++j) {
        all &= presolved[j] != TSO_UNDEFINED;
        if (presolved[j] != TSO_UNDEFINED)
            SCIPsetSolVal(scip(), sol, SCIPgetVars(scip())[j], presolved[j]);
    }
    std::vector<double> x(problem_.columns);
    SCIPgetSolVals(scip(), sol, static_cast<int>(x.size()), problem_.object.vars_data(), x.data());
    SCIPfreeSol(scip(), &sol);
    for (size_t j = 0; j < x.size() && !all; ++j) {
        const int index = SCIPvarGetProbindex(transformed(static_cast<int>(j)));
        if (index < 0 || presolved[index] == TSO_UNDEFINED)
            x[j] = TSO_UNDEFINED;
    }
    return x;
}

} // namespace tso::engine
