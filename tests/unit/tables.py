"""The promised names and numbers, written down a second time, so that a slip in a table of the code is seen."""

LISTS = ["getVars", "getConstrs", "getQConstrs", "getSOSs", "getGenConstrs", "getPsdVars", "getPsdConstrs"]
COUNTS = ["NumConstrs", "NumVars", "NumPsdVars", "NumSOS", "NumGenConstrs"]  # in the order in which they are asked for

# fmt: off
PARAMETERS = {
    "int": """
        Method PostScaling Presolve Dualization OutputFlag LogToConsole NumThreads EnableNetworkFlow
        EnableStochasticLP NumericFocus SPX/ColumnGeneration SPX/CrashStart SPX/MaxIterations SPX/PrimalPricing
        SPX/DualPricing IPM/MaxIterations MIP/LevelCuts MIP/LevelHeurs MIP/LevelProbing MIP/LevelStrong
        MIP/LevelSubmip MIP/MaxNodes MIP/RootParallelism MIP/AutoConfiguration MIP/MaxSols MIP/AllowDualPresolve
        MIP/EnableLazyConstr MIP/DetectDisconnectedComponents MIP/SolutionPoolSize MIP/MaxStallingNodes
        MIP/SolutionNumber SolutionTarget
    """.split(),
    "float": """
        MaxTime SPX/PrimalTolerance SPX/DualTolerance IPM/PrimalTolerance IPM/DualTolerance IPM/GapTolerance
        MIP/IntegerTolerance MIP/ObjectiveTolerance MIP/GapAbs MIP/GapRel MIP/LinearizationBigM MIP/Cutoff
    """.split(),
    "str": """
        LogFile
    """.split(),
}

ATTRIBUTES = {
    "int": """
        MinSense ModelSense HasSolution HasPrimalRay HasDualRay NumVars NumConss NumConstrs NumQConstrs NumSOS
        NumGenConstrs NumEnts NumNZs SPX/NumIters IPM/NumIters IsInteger IISVar IISConstr IISCol IISRow ColBasis
        RowBasis GenConstrType Status Dim NumPsdVars NumPsdConstrs SolCount
    """.split(),
    "double": """
        ObjConst ObjCon PrimalObjVal ObjVal DualObjVal PresolverTime SolverTime SolutionTime MIP/GapAbs MIP/GapRel LB
        UB Obj LHS RHS QCLHS QCRHS PrimalSoln X Xn Start DualSoln Activity ReducedCost RC PsdCLHS PsdCRHS
    """.split(),
    "string": """
        ProbName ModelName RowName ConstrName QCName ColName VarName PsdVarName PsdCName GenConstrName
    """.split(),
    "char": """
        VType
    """.split(),
    "matrix": """
        PsdX PsdObj
    """.split(),
}

CODES = dict(  # noqa: C408
    OKAY=0, ERROR=-1, NOMEMORY=-2, INVALID_ARGUMENT=-3, INVALID_LICENSE=-10, HOME_ENV_NOT_FOUND=-11, DLL_ERROR=-12,
    IO_ERROR=-1000, FILE_READ_ERROR=-1001, FILE_WRITE_ERROR=-1002, DIRECTORY_ERROR=-1003, FORMAT_ERROR=-1100,
    VERSION_ERROR=-1101, REMOTE_INVALID_TOKEN=-1200, REMOTE_CONNECTION_ERROR=-1201, MODEL_INPUT_ERROR=-2000,
    MODEL_EMPTY=-2001, MODEL_INVALID_ROW_IDX=-2002, MODEL_INVALID_COL_IDX=-2003, MODEL_INVALID_ROW_NAME=-2004,
    MODEL_INVALID_COL_NAME=-2005, MODEL_INVALID_SYM_MAT_IDX=-2006, MODEL_INVALID_SYM_MAT_ROW_IDX=-2007,
    MODEL_INVALID_SYM_MAT_COL_IDX=-2008, MODEL_INVALID_STR_ATTR=-2010, MODEL_INVALID_INT_ATTR=-2011,
    MODEL_INVALID_REAL_ATTR=-2012, MODEL_INVALID_REAL_ATTR_SYM_MAT=-2013, MODEL_INVALID_CHAR_ATTR=-2014,
    MODEL_INVALID_MAT_ATTR=-2015, MODEL_INVALID_ATTR_NAME=-2019, MODEL_INVALID_SOS_TYPE=-2020,
    MODEL_INVALID_SOS_IDX=-2021, MODEL_INVALID_INDICATOR_COL_IDX=-2022, MODEL_INVALID_INDICATOR_ROW_IDX=-2023,
    MODEL_INVALID_INT_RELAX=-2024, DATA_NOT_AVAILABLE=-2025, NO_SOLN=-3000, NO_RAY=-3001, NO_STATISTICS=-3002,
    INVALID_BASIS_STATUS=-3003, IIS_NO_SOLN=-3004, IIS_FEASIBLE=-3005, INVALID_SOL_IDX=-3006, PARAM_SET_ERROR=-4000,
    PARAM_GET_ERROR=-4001, CB_INVALID_WHERE=-5000, CB_INVALID_WHAT=-5001, CB_INVALID_SUBMISSION=-5002,
    ABORT_ITERATION_LIMIT=-9000, ABORT_TIME_LIMIT=-9001, ABORT_INTERRUPTED=-9002, ABORT_NODE_LIMIT=-9003,
    ABORT_STALLING_NODE_LIMIT=-9004, ABORT_SOLUTION_LIMIT=-9005, ABORT_INVALID_METHOD=-9011,
    ABORT_SOLVER_NOT_AVAILABLE=-9012, SIMPLEX_NUMERIC=-10000, INTERIOR_NUMERIC=-20000, IIS_NUMERIC=-30000,
    CE_VALIDATE_FAILED=-40000,
)

STATUSES = dict(  # noqa: C408
    UNKNOWN=0, OPTIMAL=1, INFEASIBLE=2, UNBOUNDED=3, INF_OR_UBD=4, SUB_OPTIMAL=5,
)

CALLBACKS = dict(  # noqa: C408
    MIPSTART=3, MIPSOL=4, MIPNODE=5, PRE_NUMVARS=200, PRE_NUMCONSTRS=201, PRE_NUMNZS=202, MIP_OBJBST=300,
    MIP_OBJBND=301, MIP_RELVAL=302, MIP_NODCNT=306, MIP_SOLCNT=307, MIP_CUTCNT=308, MIP_NODLFT=309, MIP_NODEID=310,
    MIP_DEPTH=311, MIP_PHASE=312, MIP_SOL=316, MIP_REL=317,
)

PUBLIC = """
TSO models disposeDefaultEnv multidict paramHelp quicksum read readParams resetParams setParam system
writeParams version TessolvError tuplelist tupledict Var MVar Constr QConstr SOS GenConstr MConstr MQConstr
PsdVar PsdConstr LinExpr QuadExpr MLinExpr MQuadExpr PsdExpr TempConstr Column Env Model
""".split()
