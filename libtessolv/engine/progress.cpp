#include "engine/progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace tso::engine {
namespace {

struct Range {
    double least = std::numeric_limits<double>::infinity(), greatest = 0;
    void take(double v) {
        v = std::fabs(v);
        if (v == 0 || v >= TSO_INFINITY)
            return;
        least = std::min(least, v);
        greatest = std::max(greatest, v);
    }
    std::string text() const {
        if (greatest == 0)
            return "";
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "[%.3g, %.3g]", least, greatest);
        return buffer;
    }
};

void log_range(Log& log, const char* what, const Range& r) {
    if (r.greatest != 0)
        log.printf("  %-12s %s", what, r.text().c_str());
}

std::string number(double v) {
    if (std::isnan(v))
        return "-";
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.10g", v);
    return buffer;
}

std::string percent(double incumbent, double bound) {
    if (std::isnan(incumbent) || std::isnan(bound))
        return "-";
    const double gap = 100 * std::fabs(incumbent - bound) / std::max(1e-10, std::fabs(incumbent));
    if (gap >= 1e4)
        return "large";
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.2f%%", gap);
    return buffer;
}

std::string count(int64_t n) { return n < 0 ? "-" : std::to_string(n); }

} // namespace

std::string_view status_text(int status) {
    switch (status) {
    case TSO_STATUS_OPTIMAL:
        return "optimal";
    case TSO_STATUS_INFEASIBLE:
        return "infeasible";
    case TSO_STATUS_UNBOUNDED:
        return "unbounded";
    case TSO_STATUS_INF_OR_UBD:
        return "infeasible or unbounded";
    case TSO_STATUS_SUB_OPTIMAL:
        return "suboptimal";
    default:
        return "unknown";
    }
}

void log_header(Model& model) {
    Log& log = model.env.log();
    if (!log.on())
        return;
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    log.line("");
    log.printf("Model %s: %s, %d rows, %d columns, %lld nonzeros",
               model.name().empty() ? "(unnamed)" : model.name().c_str(),
               model.sense() == TSO_MINIMIZE ? "minimize" : "maximize", rows.size(), cols.size(),
               static_cast<long long>(rows.matrix.entries()));
    int integer = 0, binary = 0, semi = 0;
    for (char type : cols.type) {
        integer += type == TSO_INTEGER;
        binary += type == TSO_BINARY;
        semi += type == TSO_SEMICONT || type == TSO_SEMIINT;
    }
    if (integer || binary || semi)
        log.printf("  %d binary, %d integer, %d semi-continuous variables", binary, integer, semi);
    if (!model.quadratic().empty())
        log.printf("  %zu quadratic terms in the objective", model.quadratic().size());
    if (model.num_quadratic_rows())
        log.printf("  %d quadratic rows", model.num_quadratic_rows());
    if (!model.sos().empty() || !model.indicators().empty())
        log.printf("  %zu special ordered sets, %zu indicator constraints", model.sos().size(),
                   model.indicators().size());
    if (!model.psdvars().empty())
        log.printf("  %zu semi-definite variables", model.psdvars().size());
    Range matrix, cost, bounds, sides;
    for (int i = 0; i < rows.size(); ++i) {
        for (double v : rows.matrix.values_of(i))
            matrix.take(v);
        sides.take(rows.lower[i]);
        sides.take(rows.upper[i]);
    }
    for (int j = 0; j < cols.size(); ++j) {
        cost.take(cols.cost[j]);
        bounds.take(cols.lower[j]);
        bounds.take(cols.upper[j]);
    }
    log_range(log, "coefficients", matrix);
    log_range(log, "objective", cost);
    log_range(log, "bounds", bounds);
    log_range(log, "sides", sides);
}

void ProgressLog::tell(const News& news) {
    Log& log = model_.env.log();
    if (!log.on())
        return;
    const double now = run_.elapsed();
    const bool better = !std::isnan(news.incumbent) && news.incumbent != last_incumbent_;
    if (now < next_ && !(better && now - last_ > 0.3))
        return;
    if (news.nodes < 0 && news.iterations < 0 && std::isnan(news.incumbent))
        return;
    if (!titled_) {
        titled_ = true;
        tree_ = model_.is_mip() || news.nodes >= 0;
        log.line("");
        if (tree_)
            log.line("     Nodes  Iterations         Incumbent             Bound      Gap     Time");
        else
            log.line("Iterations         Objective     Time");
    }
    if (tree_)
        log.printf("%10s  %10s  %16s  %16s  %7s  %6.1fs", count(news.nodes).c_str(), count(news.iterations).c_str(),
                   number(news.incumbent).c_str(), number(news.bound).c_str(),
                   percent(news.incumbent, news.bound).c_str(), now);
    else
        log.printf("%10s  %16s  %6.1fs%s", count(news.iterations).c_str(), number(news.incumbent).c_str(), now,
                   news.interior ? "  (interior point)" : "");
    last_ = now;
    last_incumbent_ = news.incumbent;
    next_ = now + (now < 5 ? 1 : now < 60 ? 5 : 20);
}

void log_result(Model& model, int code) {
    Log& log = model.env.log();
    if (!log.on())
        return;
    const Solution& s = model.solution;
    log.line("");
    if (code == TSO_OKAY)
        log.printf("Result: %s", std::string(status_text(s.status)).c_str());
    else
        log.printf("Result: ended early (code %d), %s", code, std::string(status_text(s.status)).c_str());
    if (s.has_primal())
        log.printf("  objective    %.15g", s.objective);
    if (!std::isnan(s.bound))
        log.printf("  bound        %.15g", s.bound);
    if (s.is_mip && s.has_primal() && !std::isnan(s.bound))
        log.printf("  gap          %.6g (%.4g%%)", s.gap_abs, 100 * s.gap_rel);
    if (s.pool.size() > 1)
        log.printf("  solutions    %zu", s.pool.size());
    log.printf("  iterations   %lld simplex, %lld interior point", static_cast<long long>(s.simplex_iterations),
               static_cast<long long>(s.ipm_iterations));
    if (s.is_mip)
        log.printf("  nodes        %lld", static_cast<long long>(s.nodes));
    log.printf("  time         %.2f s (presolve %.2f s)", s.total_seconds, s.presolve_seconds);
}

} // namespace tso::engine
