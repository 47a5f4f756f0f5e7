// Answers that an engine might give to small problems, right ones and wrong ones, before the check that stands between
// engines and users. Writes one line each: what is wrong with it, and what the check says.
#include "engine/choose.h"
#include "engine/verdict.h"

#include <cstdio>
#include <functional>

using namespace tso;

namespace {

constexpr double kInf = TSO_INFINITY;
const Env kEnv;

void show(const char* what, const Model& model, Solution s, const std::function<void(Solution&)>& change = nullptr) {
    if (change)
        change(s);
    const engine::Verdict v = engine::judge(model, engine::features_of(model, false), s);
    std::printf("%s: %s %s\n", what, v.optimal ? "optimal" : v.feasible ? "feasible" : "wrong", v.fault.c_str());
}

int col(Model& m, double cost, double lower, double upper, char type = TSO_CONTINUOUS) {
    m.add_col(0, nullptr, nullptr, cost, lower, upper, type, nullptr);
    return m.cols().size() - 1;
}

Solution point(std::vector<double> x, std::vector<double> activity, double objective) {
    Solution s;
    s.status = TSO_STATUS_OPTIMAL;
    s.x = std::move(x);
    s.activity = std::move(activity);
    s.objective = objective;
    return s;
}

// min x + 2 y, x + y >= 4, x <= 3: at (3, 1), the row's price is 2.
void linear() {
    Model m(kEnv);
    const int ind[] = {col(m, 1, 0, 3), col(m, 2, 0, kInf)};
    const double one[] = {1, 1};
    m.add_row(2, ind, one, 4, kInf, nullptr);
    Solution s = point({3, 1}, {4}, 5);
    s.dual = {2};
    s.reduced_cost = {-1, 0};
    show("right: linear", m, s);
    show("bound", m, s, [](Solution& t) { t = point({3.1, 0.9}, {4}, 4.9); });
    show("row", m, s, [](Solution& t) { t = point({3, 0.99}, {3.99}, 4.98); });
    show("no number", m, s, [](Solution& t) { t.x[0] = t.activity[0] = kInf - kInf * 2; });
    show("no point", m, s, [](Solution& t) { t.x.clear(); });
    show("a worse point, right prices", m, s, [](Solution& t) {
        t.x = {2.9, 1.1};
        t.objective = 5.1;
    });
    show("a price of the wrong sign", m, s, [](Solution& t) { t.dual = {-1}; });
    show("a price that is too high", m, s, [](Solution& t) { t.dual = {2.1}; });
    show("no prices, and a bound that is far", m, s, [](Solution& t) {
        t.dual.clear();
        t.reduced_cost.clear();
        t.bound = 4;
    });
}

// min x^2 - 2 x, x <= 0.5
void quadratic() {
    Model m(kEnv);
    const int x = col(m, -2, -kInf, 0.5);
    const double one = 1;
    m.add_quadratic(1, &x, &x, &one);
    Solution s = point({0.5}, {}, -0.75);
    s.reduced_cost = {-1};
    show("right: quadratic", m, s);
    show("a little off the best", m, s, [](Solution& t) {
        t = point({0.4999}, {}, -0.74989999);
        t.reduced_cost = {-1.0002};
    });
    // x^2 + y^2 <= 2, min x + y: at (-1, -1), the row's price is -1/2.
    Model ball(kEnv);
    const int q[] = {col(ball, 1, -kInf, kInf), col(ball, 1, -kInf, kInf)};
    const double ones[] = {1, 1};
    ball.add_quadratic_row(0, nullptr, nullptr, 2, q, q, ones, -kInf, 2, nullptr);
    Solution b = point({-1, -1}, {2}, -2);
    b.dual = {-0.5};
    show("right: ball", ball, b);
    show("out of the ball", ball, b, [](Solution& t) { t.activity = {2.01}; });
    show("another point of the ball", ball, b, [](Solution& t) {
        t.x = {-1.4, -0.2};
        t.objective = -1.6;
    });
}

void discrete() {
    Model m(kEnv);
    const int b = col(m, 1, 0, 1, TSO_BINARY), x = col(m, -1, 0, 9), y = col(m, 0, 0, 9),
              z = col(m, 0, 2, 9, TSO_SEMICONT);
    const int set[] = {x, y, z}, begin = 0, type = TSO_SOS_TYPE2;
    const double one = 1, weight[] = {3, 1, 2}; // in the order y, z, x
    m.add_sos(1, 3, &type, &begin, set, weight);
    m.add_indicator(nullptr, b, 1, 1, &x, &one, TSO_LESS_EQUAL, 5);
    Solution s = point({1, 5, 0, 3}, {}, -4);
    s.is_mip = true;
    s.bound = -4;
    show("right: discrete", m, s);
    show("not whole", m, s, [](Solution& t) { t.x[0] = 0.6; });
    show("an indicator", m, s, [](Solution& t) { t.x[1] = 5.01; });
    show("no neighbours", m, s, [](Solution& t) { t.x = {1, 5, 3, 0}; });
    show("neither zero nor in the bounds", m, s, [](Solution& t) { t.x[3] = 1; });
    show("a bound that is far", m, s, [](Solution& t) { t.bound = -4.5; });
}

// min X00 + X11, X01 = 1: all ones; the price is 2 of 2 X01 = 2, which is 1.
void semidefinite() {
    Model m(kEnv);
    const int diagonal[] = {0, 1};
    const double ones[] = {1, 1};
    m.add_psdvar(2, 2, diagonal, diagonal, ones, nullptr);
    const int zero = 0, one_index = 1;
    const double one = 1;
    m.add_psd_row(0, nullptr, nullptr, 1, &zero, &one_index, &zero, &one, 2, 2, nullptr);
    Solution s = point({}, {2}, 2);
    s.psd = {{{0, 0, 1}, {1, 0, 1}, {1, 1, 1}}};
    s.dual = {1};
    show("right: semi-definite", m, s);
    show("out of the cone", m, s, [](Solution& t) { t.psd[0][0].value = 0.9; });
    show("a slack out of the cone", m, s, [](Solution& t) { t.dual = {1.1}; });
    show("prices that prove less", m, s, [](Solution& t) { t.dual = {0.9}; });
}

} // namespace

int main() {
    linear();
    quadratic();
    discrete();
    semidefinite();
}
