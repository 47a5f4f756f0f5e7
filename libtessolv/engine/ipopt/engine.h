// The inside of the Ipopt engine. Only files of this folder include it.
#pragma once

#include "engine/engine.h"
#include "engine/scip/object.h"
#include "engine/worker.h"

#include <memory>
#include <string>
#include <vector>

namespace tso::engine {

// The model as a nonlinear problem, always to be minimised. It keeps the SCIP object that carries Ipopt.
class NlpProblem {
public:
    explicit NlpProblem(const Model& model);
    ~NlpProblem();
    NlpProblem(const NlpProblem&) = delete;
    NlpProblem& operator=(const NlpProblem&) = delete;

    SCIP* scip() const { return object.get(); }
    ScipObject object;
    SCIP_NLPI* solver = nullptr;
    SCIP_NLPIPROBLEM* problem = nullptr;

private:
    class Expression;
    Expression sum_of(const std::vector<QuadTerm>& terms, double sign) const;
    void add_rows(const Model& model);
    std::vector<SCIP_EXPR*> var_; // of each column, null where it is in no product
};

// What came of a run, in the signs of Solution.
struct NlpOutcome {
    SCIP_RETCODE return_code = SCIP_OKAY;
    SCIP_NLPSOLSTAT status = SCIP_NLPSOLSTAT_UNKNOWN;
    SCIP_NLPTERMSTAT ended = SCIP_NLPTERMSTAT_OTHER;
    int iterations = 0;
    std::vector<double> x, dual;
};

class IpoptEngine final : public Engine {
public:
    std::string_view name() const override { return name_; }
    int solve(Model& model, Run& run, Solution& result) override;
    int iis(Model& model, Run& run, Solution& result) override;

private:
    std::string name_ = "Ipopt (in SCIP " + scip_version() + ")";
};

} // namespace tso::engine
