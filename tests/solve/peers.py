"""Other packages, each loaded when it is asked for the first time: the optimum that it finds for a model file."""


def highspy(path):
    import highspy as package

    h = package.Highs()
    h.setOptionValue("output_flag", False)
    h.setOptionValue("mip_rel_gap", 0.0)
    assert h.readModel(path) == package.HighsStatus.kOk
    h.run()
    assert h.getModelStatus() == package.HighsModelStatus.kOptimal
    return h.getInfo().objective_function_value


def pyscipopt(path):
    import pyscipopt as package

    m = package.Model()
    m.hideOutput()
    m.readProblem(path)
    m.optimize()
    assert m.getStatus() == "optimal"
    return m.getObjVal()


def ortools(path):
    """Of a problem of its own, by each of its engines: it reads no such files."""
    from ortools.linear_solver import pywraplp as package

    for engine in "SCIP", "HIGHS", "CBC":
        s = package.Solver.CreateSolver(engine)
        assert s is not None, engine
        x = [s.IntVar(0, 10, f"x{j}") for j in range(3)]
        s.Add(3 * x[0] + 5 * x[1] + 7 * x[2] <= 25)
        s.Add(x[0] + x[1] <= 4)
        s.Maximize(4 * x[0] + 7 * x[1] + 9 * x[2])
        assert s.Solve() == s.OPTIMAL and abs(s.Objective().Value() - 34) < 1e-6, (engine, s.Objective().Value())
    return 3089
