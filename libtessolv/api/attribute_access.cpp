#include "api/attribute_access.h"

#include <algorithm>
#include <cmath>

namespace tso::api {

namespace {

template <class Access> struct Row {
    Attr attr;
    Access access;
};

// A table by Attr from its rows. `promised` says which attributes must stand in it; another set does not compile.
template <class Access, size_t N>
consteval ByAttr<Access> by_attr(bool (*promised)(const AttrRow&), const Row<Access> (&rows)[N]) {
    ByAttr<Access> table{};
    bool there[kAttrCount] = {};
    for (const Row<Access>& r : rows) {
        table[static_cast<size_t>(r.attr)] = r.access;
        there[static_cast<size_t>(r.attr)] = true;
    }
    for (int a = 0; a < kAttrCount; ++a)
        if (promised(kAttrs[a]) != there[a])
            throw "an attribute has no access, or one that its row does not promise";
    return table;
}

constexpr bool is(const AttrRow& r, AttrType type, bool of_model) {
    return r.type == type && (r.owner == Owner::Model) == of_model;
}

int available(bool there) { return there ? TSO_OKAY : TSO_DATA_NOT_AVAILABLE; }

template <class T> int clamped(T v) { return static_cast<int>(std::min<int64_t>(static_cast<int64_t>(v), INT32_MAX)); }

template <class T, class V> int answer(T& target, V value) {
    target = static_cast<T>(value);
    return TSO_OKAY;
}

int of_run(const Model& m, double value, double& result) {
    result = value;
    return available(m.solution.has_run());
}

int gap(const Model& m, double value, double& result) {
    result = value;
    return available(m.solution.is_mip && m.solution.has_primal() && !std::isnan(m.solution.bound));
}

int element_of(const std::vector<int8_t>& v, int i, int& value) {
    if (i >= static_cast<int>(v.size()))
        return TSO_DATA_NOT_AVAILABLE;
    value = v[static_cast<size_t>(i)];
    return TSO_OKAY;
}

// Stored solutions; one that no pool holds counts as a pool of one.
int solution_count(const Model& m) {
    const Solution& s = m.solution;
    return s.pool.empty() ? s.has_primal() : clamped(s.pool.size());
}

DoubleColumn all_of(const std::vector<double>& v) { return {v.data(), static_cast<int>(v.size()), false, 0, TSO_OKAY}; }
DoubleColumn none() { return {nullptr, 0, false, 0, TSO_DATA_NOT_AVAILABLE}; }
DoubleColumn of_run(const std::vector<double>& v, bool there) { return there ? all_of(v) : none(); }

DoubleColumn primal(const Model& m) {
    const Solution& s = m.solution;
    if (s.has_primal())
        return all_of(s.x);
    return of_run(s.primal_ray, s.status == TSO_STATUS_UNBOUNDED && !s.primal_ray.empty());
}

DoubleColumn dual(const Model& m) {
    const Solution& s = m.solution;
    if (s.has_dual())
        return all_of(s.dual);
    return of_run(s.dual_ray, s.status == TSO_STATUS_INFEASIBLE && !s.dual_ray.empty());
}

DoubleColumn stored(const Model& m) {
    const int number = m.env.params().get_int(Param::MIP_SolutionNumber);
    if (!m.solution.has_primal())
        return none();
    if (number >= solution_count(m))
        return {nullptr, 0, false, 0, TSO_INVALID_SOL_IDX};
    return all_of(m.solution.pool.empty() ? m.solution.x : m.solution.pool[static_cast<size_t>(number)].x);
}

DoubleColumn start(const Model& m) {
    DoubleColumn c = all_of(m.cols().start);
    c.has_rest = true;
    c.rest = TSO_UNDEFINED;
    return c;
}

constexpr ReadInt kSense = [](const Model& m, int& v) { return answer(v, m.sense()); };
constexpr ReadInt kRows = [](const Model& m, int& v) { return answer(v, m.rows().size()); };
constexpr ReadInt kEntries = [](const Model& m, int& v) { return answer(v, clamped(m.rows().matrix.entries())); };
constexpr ReadDouble kConstant = [](const Model& m, double& v) { return answer(v, m.constant()); };
constexpr ReadDouble kObjective = [](const Model& m, double& v) {
    v = m.solution.objective;
    return available(m.solution.has_primal());
};
constexpr ReadElementInt kIisCol = [](const Model& m, int j, int& v) { return element_of(m.solution.iis_col, j, v); };
constexpr ReadElementInt kIisRow = [](const Model& m, int i, int& v) { return element_of(m.solution.iis_row, i, v); };
constexpr ReadDoubles kRowLower = [](const Model& m) { return all_of(m.rows().lower); };
constexpr ReadDoubles kRowUpper = [](const Model& m) { return all_of(m.rows().upper); };
constexpr ReadDoubles kReducedCost = [](const Model& m) {
    return of_run(m.solution.reduced_cost, m.solution.has_dual());
};
constexpr ReadNames kColNames = [](const Model& m) -> const Names& { return m.cols().names; };
constexpr ReadNames kRowNames = [](const Model& m) -> const Names& { return m.rows().names; };
constexpr WriteDouble kSetConstant = [](Model& m, double v) { m.set_constant(v); };

} // namespace

constexpr ByAttr<ReadInt> kReadInt = by_attr<ReadInt>(
    [](const AttrRow& r) { return is(r, AttrType::Int, true); },
    {
        {Attr::MinSense, [](const Model& m, int& v) { return answer(v, m.sense() == TSO_MINIMIZE); }},
        {Attr::ModelSense, kSense},
        {Attr::HasSolution, [](const Model& m, int& v) { return answer(v, m.solution.has_primal()); }},
        {Attr::HasPrimalRay, [](const Model& m, int& v) { return answer(v, !m.solution.primal_ray.empty()); }},
        {Attr::HasDualRay, [](const Model& m, int& v) { return answer(v, !m.solution.dual_ray.empty()); }},
        {Attr::NumVars, [](const Model& m, int& v) { return answer(v, m.cols().size()); }},
        {Attr::NumConss, kRows},
        {Attr::NumConstrs, kRows},
        {Attr::NumQConstrs, [](const Model& m, int& v) { return answer(v, m.num_quadratic_rows()); }},
        {Attr::NumSOS, [](const Model& m, int& v) { return answer(v, clamped(m.sos().size())); }},
        {Attr::NumGenConstrs, [](const Model& m, int& v) { return answer(v, clamped(m.indicators().size())); }},
        {Attr::NumEnts, kEntries},
        {Attr::NumNZs, kEntries},
        {Attr::SPX_NumIters,
         [](const Model& m, int& v) {
             v = clamped(m.solution.simplex_iterations);
             return available(m.solution.has_run());
         }},
        {Attr::IPM_NumIters,
         [](const Model& m, int& v) {
             v = clamped(m.solution.ipm_iterations);
             return available(m.solution.has_run());
         }},
        {Attr::Status, [](const Model& m, int& v) { return answer(v, m.solution.status); }},
        {Attr::NumPsdVars, [](const Model& m, int& v) { return answer(v, clamped(m.psdvars().size())); }},
        {Attr::NumPsdConstrs, [](const Model& m, int& v) { return answer(v, m.num_psd_rows()); }},
        {Attr::SolCount, [](const Model& m, int& v) { return answer(v, solution_count(m)); }},
    });

constexpr ByAttr<ReadDouble> kReadDouble = by_attr<ReadDouble>(
    [](const AttrRow& r) { return is(r, AttrType::Double, true); },
    {
        {Attr::ObjConst, kConstant},
        {Attr::ObjCon, kConstant},
        {Attr::PrimalObjVal, kObjective},
        {Attr::ObjVal, kObjective},
        {Attr::DualObjVal,
         [](const Model& m, double& v) {
             v = m.solution.bound;
             return available(!std::isnan(v));
         }},
        {Attr::PresolverTime, [](const Model& m, double& v) { return of_run(m, m.solution.presolve_seconds, v); }},
        {Attr::SolverTime, [](const Model& m, double& v) { return of_run(m, m.solution.solver_seconds, v); }},
        {Attr::SolutionTime, [](const Model& m, double& v) { return of_run(m, m.solution.total_seconds, v); }},
        {Attr::MIP_GapAbs, [](const Model& m, double& v) { return gap(m, m.solution.gap_abs, v); }},
        {Attr::MIP_GapRel, [](const Model& m, double& v) { return gap(m, m.solution.gap_rel, v); }},
    });

constexpr ByAttr<ReadElementInt> kReadElementInt = by_attr<ReadElementInt>(
    [](const AttrRow& r) { return is(r, AttrType::Int, false); },
    {
        {Attr::IsInteger,
         [](const Model& m, int j, int& v) {
             const char type = m.cols().type[static_cast<size_t>(j)];
             return answer(v, type == TSO_BINARY || type == TSO_INTEGER || type == TSO_SEMIINT);
         }},
        {Attr::IISVar, kIisCol},
        {Attr::IISCol, kIisCol},
        {Attr::IISConstr, kIisRow},
        {Attr::IISRow, kIisRow},
        {Attr::ColBasis,
         [](const Model& m, int j, int& v) {
             return element_of(m.solution.col_basis.empty() ? m.cols().basis : m.solution.col_basis, j, v);
         }},
        {Attr::RowBasis,
         [](const Model& m, int i, int& v) {
             return element_of(m.solution.row_basis.empty() ? m.rows().basis : m.solution.row_basis, i, v);
         }},
        {Attr::GenConstrType, [](const Model&, int, int& v) { return answer(v, TSO_GENCONSTR_INDICATOR); }},
        {Attr::Dim, [](const Model& m, int i, int& v) { return answer(v, m.psdvars()[static_cast<size_t>(i)].dim); }},
    });

constexpr ByAttr<ReadDoubles> kReadDoubles = by_attr<ReadDoubles>(
    [](const AttrRow& r) { return is(r, AttrType::Double, false); },
    {
        {Attr::LB, [](const Model& m) { return all_of(m.cols().lower); }},
        {Attr::UB, [](const Model& m) { return all_of(m.cols().upper); }},
        {Attr::Obj, [](const Model& m) { return all_of(m.cols().cost); }},
        {Attr::LHS, kRowLower},
        {Attr::QCLHS, kRowLower},
        {Attr::PsdCLHS, kRowLower},
        {Attr::RHS, kRowUpper},
        {Attr::QCRHS, kRowUpper},
        {Attr::PsdCRHS, kRowUpper},
        {Attr::PrimalSoln, primal},
        {Attr::X, primal},
        {Attr::Xn, stored},
        {Attr::Start, start},
        {Attr::DualSoln, dual},
        {Attr::Activity, [](const Model& m) { return of_run(m.solution.activity, m.solution.has_primal()); }},
        {Attr::ReducedCost, kReducedCost},
        {Attr::RC, kReducedCost},
    });

constexpr ByAttr<ReadNames> kReadNames =
    by_attr<ReadNames>([](const AttrRow& r) { return is(r, AttrType::String, false); },
                       {
                           {Attr::RowName, kRowNames},
                           {Attr::ConstrName, kRowNames},
                           {Attr::QCName, kRowNames},
                           {Attr::PsdCName, kRowNames},
                           {Attr::ColName, kColNames},
                           {Attr::VarName, kColNames},
                           {Attr::PsdVarName, [](const Model& m) -> const Names& { return m.psdvar_names(); }},
                           {Attr::GenConstrName, [](const Model& m) -> const Names& { return m.indicator_names(); }},
                       });

constexpr ByAttr<ReadMatrix> kReadMatrix = by_attr<ReadMatrix>(
    [](const AttrRow& r) { return r.type == AttrType::Matrix; },
    {
        {Attr::PsdX,
         [](const Model& m, int i) {
             const auto& psd = m.solution.psd;
             return static_cast<size_t>(i) < psd.size() ? &psd[static_cast<size_t>(i)] : nullptr;
         }},
        {Attr::PsdObj, [](const Model& m, int i) { return &m.psdvars()[static_cast<size_t>(i)].cost; }},
    });

constexpr ByAttr<WriteInt> kWriteInt =
    by_attr<WriteInt>([](const AttrRow& r) { return is(r, AttrType::Int, true) && r.writable; },
                      {
                          {Attr::MinSense,
                           [](Model& m, int v) {
                               require(v == 0 || v == 1, TSO_INVALID_ARGUMENT);
                               m.set_sense(v == 1 ? TSO_MINIMIZE : TSO_MAXIMIZE);
                           }},
                          {Attr::ModelSense, [](Model& m, int v) { m.set_sense(v); }},
                      });

constexpr ByAttr<WriteDouble> kWriteDouble =
    by_attr<WriteDouble>([](const AttrRow& r) { return is(r, AttrType::Double, true) && r.writable; },
                         {{Attr::ObjConst, kSetConstant}, {Attr::ObjCon, kSetConstant}});

constexpr ByAttr<WriteInts> kWriteInts =
    by_attr<WriteInts>([](const AttrRow& r) { return is(r, AttrType::Int, false) && r.writable; },
                       {{Attr::ColBasis, &Model::set_col_basis}, {Attr::RowBasis, &Model::set_row_basis}});

constexpr ByAttr<WriteDoubles> kWriteDoubles =
    by_attr<WriteDoubles>([](const AttrRow& r) { return is(r, AttrType::Double, false) && r.writable; },
                          {
                              {Attr::LB, &Model::set_lower},
                              {Attr::UB, &Model::set_upper},
                              {Attr::Obj, &Model::set_cost},
                              {Attr::LHS, &Model::set_row_lower},
                              {Attr::QCLHS, &Model::set_row_lower},
                              {Attr::PsdCLHS, &Model::set_row_lower},
                              {Attr::RHS, &Model::set_row_upper},
                              {Attr::QCRHS, &Model::set_row_upper},
                              {Attr::PsdCRHS, &Model::set_row_upper},
                              {Attr::Start, &Model::set_start},
                          });

constexpr ByAttr<WriteNames> kWriteNames =
    by_attr<WriteNames>([](const AttrRow& r) { return is(r, AttrType::String, false) && r.writable; },
                        {
                            {Attr::RowName, &Model::set_row_names},
                            {Attr::ConstrName, &Model::set_row_names},
                            {Attr::QCName, &Model::set_row_names},
                            {Attr::PsdCName, &Model::set_row_names},
                            {Attr::ColName, &Model::set_col_names},
                            {Attr::VarName, &Model::set_col_names},
                            {Attr::PsdVarName, &Model::set_psdvar_names},
                            {Attr::GenConstrName, &Model::set_indicator_names},
                        });

constexpr std::array<OwnerRow, 8> kOwners = {{
    {[](const Model&) { return 0; }, TSO_INVALID_ARGUMENT}, // the model itself has no elements
    {[](const Model& m) { return m.cols().size(); }, TSO_MODEL_INVALID_COL_IDX},
    {[](const Model& m) { return m.rows().size(); }, TSO_MODEL_INVALID_ROW_IDX},
    {[](const Model& m) { return clamped(m.sos().size()); }, TSO_MODEL_INVALID_SOS_IDX},
    {[](const Model& m) { return m.rows().size(); }, TSO_MODEL_INVALID_ROW_IDX},
    {[](const Model& m) { return clamped(m.indicators().size()); }, TSO_MODEL_INVALID_INDICATOR_ROW_IDX},
    {[](const Model& m) { return clamped(m.psdvars().size()); }, TSO_MODEL_INVALID_SYM_MAT_IDX},
    {[](const Model& m) { return m.rows().size(); }, TSO_MODEL_INVALID_ROW_IDX},
}};

} // namespace tso::api
