// The texts of the return codes.
#include "tessolv.h"

#include <cstddef>
#include <iterator>

namespace {

struct CodeText {
    int code;
    const char* text;
};

// clang-format off
constexpr CodeText kTexts[] = {
    {TSO_OKAY, "Success"},
    {TSO_ERROR, "The call failed: the model is in use by another thread or by a running solve, or something unforeseen went wrong; the log may tell more"},
    {TSO_NOMEMORY, "Out of memory: the model or the result is too large for this machine"},
    {TSO_INVALID_ARGUMENT, "Invalid argument: a handle that was freed or never made, a missing array, a value that is not a number or out of range, or an attribute that can only be read"},
    {TSO_INVALID_LICENSE, "The licence is not valid"},
    {TSO_HOME_ENV_NOT_FOUND, "The folder that the library needs for its work was not found"},
    {TSO_DLL_ERROR, "A library that is needed for this could not be loaded; install the package again"},
    {TSO_IO_ERROR, "Reading or writing failed part-way; look for a full or broken device"},
    {TSO_FILE_READ_ERROR, "The file could not be read: look whether it exists and may be read"},
    {TSO_FILE_WRITE_ERROR, "The file could not be written: look whether its folder exists, may be written to and has space left"},
    {TSO_DIRECTORY_ERROR, "The name is that of a folder where a file is needed, or its folder does not exist"},
    {TSO_FORMAT_ERROR, "The file is malformed, or its suffix is unknown; the log names the line and what was expected"},
    {TSO_VERSION_ERROR, "The file was written for another version"},
    {TSO_REMOTE_INVALID_TOKEN, "The remote service refused the token"},
    {TSO_REMOTE_CONNECTION_ERROR, "The remote service could not be reached"},
    {TSO_MODEL_INPUT_ERROR, "The model's data do not fit together"},
    {TSO_MODEL_EMPTY, "The model is empty"},
    {TSO_MODEL_INVALID_ROW_IDX, "There is no constraint of that index; it may have been removed"},
    {TSO_MODEL_INVALID_COL_IDX, "There is no variable of that index; it may have been removed"},
    {TSO_MODEL_INVALID_ROW_NAME, "There is no constraint of that name"},
    {TSO_MODEL_INVALID_COL_NAME, "There is no variable of that name"},
    {TSO_MODEL_INVALID_SYM_MAT_IDX, "There is no semi-definite variable of that index"},
    {TSO_MODEL_INVALID_SYM_MAT_ROW_IDX, "A row of a symmetric matrix lies outside of its dimension"},
    {TSO_MODEL_INVALID_SYM_MAT_COL_IDX, "A column of a symmetric matrix lies outside of its dimension"},
    {TSO_MODEL_INVALID_STR_ATTR, "This attribute is not a text, or it belongs to another kind of element"},
    {TSO_MODEL_INVALID_INT_ATTR, "This attribute is not an integer, or it belongs to another kind of element"},
    {TSO_MODEL_INVALID_REAL_ATTR, "This attribute is not a real number, or it belongs to another kind of element"},
    {TSO_MODEL_INVALID_REAL_ATTR_SYM_MAT, "An entry of a symmetric matrix is infinite or not a number"},
    {TSO_MODEL_INVALID_CHAR_ATTR, "This attribute is not a single character, or it belongs to another kind of element"},
    {TSO_MODEL_INVALID_MAT_ATTR, "This attribute is not a matrix, or it belongs to another kind of element"},
    {TSO_MODEL_INVALID_ATTR_NAME, "There is no attribute of that name"},
    {TSO_MODEL_INVALID_SOS_TYPE, "A special ordered set is of type 1 or 2"},
    {TSO_MODEL_INVALID_SOS_IDX, "There is no special ordered set of that index; it may have been removed"},
    {TSO_MODEL_INVALID_INDICATOR_COL_IDX, "The variable that switches an indicator constraint must be binary"},
    {TSO_MODEL_INVALID_INDICATOR_ROW_IDX, "There is no general constraint of that index; it may have been removed"},
    {TSO_MODEL_INVALID_INT_RELAX, "The integer variables cannot be relaxed"},
    {TSO_DATA_NOT_AVAILABLE, "There is no such value now: the model was not solved, its run left none of this kind, or the element was added after the run"},
    {TSO_NO_SOLN, "There is no solution"},
    {TSO_NO_RAY, "There is no ray"},
    {TSO_NO_STATISTICS, "There are no statistics"},
    {TSO_INVALID_BASIS_STATUS, "A basis status is 0 (at its lower bound), 1 (basic), 2 (at its upper bound) or 3 (free, at zero)"},
    {TSO_IIS_NO_SOLN, "No irreducible infeasible subsystem could be found"},
    {TSO_IIS_FEASIBLE, "The problem is feasible, so it has no infeasible subsystem"},
    {TSO_INVALID_SOL_IDX, "There is no stored solution of that number; the attribute SolCount tells how many there are, the parameter MIP/SolutionNumber picks one"},
    {TSO_PARAM_SET_ERROR, "The parameter could not be set: its name is unknown, or its value is out of range or of the wrong type"},
    {TSO_PARAM_GET_ERROR, "The parameter could not be read: its name is unknown, or it is of another type"},
    {TSO_CB_INVALID_WHERE, "This cannot be asked for in this phase of the solve"},
    {TSO_CB_INVALID_WHAT, "There is no such value to be asked for in a callback"},
    {TSO_CB_INVALID_SUBMISSION, "This cannot be added in this phase of the solve"},
    {TSO_ABORT_ITERATION_LIMIT, "The iteration limit ended the solve; what was found so far can be read"},
    {TSO_ABORT_TIME_LIMIT, "The time limit ended the solve; what was found so far can be read"},
    {TSO_ABORT_INTERRUPTED, "The solve was interrupted; what was found so far can be read"},
    {TSO_ABORT_NODE_LIMIT, "The node limit ended the solve; what was found so far can be read"},
    {TSO_ABORT_STALLING_NODE_LIMIT, "Too many nodes without progress ended the solve; what was found so far can be read"},
    {TSO_ABORT_SOLUTION_LIMIT, "The limit on the number of solutions ended the solve; what was found so far can be read"},
    {TSO_ABORT_INVALID_METHOD, "The chosen method cannot solve this kind of problem"},
    {TSO_ABORT_SOLVER_NOT_AVAILABLE, "No engine can solve this kind of problem; the log says what stands in the way"},
    {TSO_SIMPLEX_NUMERIC, "The simplex method failed for numerical reasons; scale the model or try another Method"},
    {TSO_INTERIOR_NUMERIC, "The interior point method failed for numerical reasons; scale the model or try another Method"},
    {TSO_IIS_NUMERIC, "The search for an infeasible subsystem failed for numerical reasons"},
    {TSO_CE_VALIDATE_FAILED, "The result did not pass its check against the model"},
};

constexpr int kCodes[] = {
#define TSO_CODE(name, value) TSO_##name,
#include "tessolv_codes.h"
#undef TSO_CODE
};
// clang-format on

constexpr bool same_codes() {
    if (std::size(kTexts) != std::size(kCodes))
        return false;
    for (std::size_t k = 0; k < std::size(kCodes); ++k)
        if (kTexts[k].code != kCodes[k] || !kTexts[k].text[0])
            return false;
    return true;
}
static_assert(std::size(kCodes) == 61 && same_codes());

} // namespace

const char* TSOexplainerror(int code) {
    for (const CodeText& row : kTexts)
        if (row.code == code)
            return row.text;
    return "This is not a code of this library";
}
