# The page that `ksbrain report` fills with data, bundled on the machine that builds, whatever it builds
# for. What npm fetches stays in the build folder. Included first: the build begins with what comes first,
# and so fetches while it compiles.

set(KSBRAIN_PAGE_FOLDER ${PROJECT_BINARY_DIR}/page)
set(KSBRAIN_REPORT_PAGE ${KSBRAIN_PAGE_FOLDER}/report.html)
set(page_source ${PROJECT_SOURCE_DIR}/tools/report/page)
file(MAKE_DIRECTORY ${KSBRAIN_PAGE_FOLDER})
file(GLOB page_parts CONFIGURE_DEPENDS
    ${page_source}/*.js ${page_source}/*.css ${page_source}/*.html ${page_source}/*.mjs)
set(page_packages ${page_source}/package.json ${page_source}/package-lock.json ${page_source}/.npmrc)

add_custom_command(
    OUTPUT ${KSBRAIN_PAGE_FOLDER}/fetched
    COMMAND ${PROJECT_SOURCE_DIR}/cmake/setup.sh page
    COMMAND ${CMAKE_COMMAND} -E copy ${page_packages} ${KSBRAIN_PAGE_FOLDER}
    COMMAND npm ci --prefer-offline --no-audit --no-fund --loglevel=error
    COMMAND ${CMAKE_COMMAND} -E touch fetched
    DEPENDS ${page_packages}
    WORKING_DIRECTORY ${KSBRAIN_PAGE_FOLDER}
    COMMENT "Fetching what the report's page is made with"
    USES_TERMINAL
    VERBATIM)
add_custom_command(
    OUTPUT ${KSBRAIN_REPORT_PAGE}
    COMMAND ${CMAKE_COMMAND} -E copy ${page_parts} ${KSBRAIN_PAGE_FOLDER}
    COMMAND node build.mjs ${KSBRAIN_REPORT_PAGE}
    DEPENDS ${page_parts} ${KSBRAIN_PAGE_FOLDER}/fetched
    WORKING_DIRECTORY ${KSBRAIN_PAGE_FOLDER}
    COMMENT "Assembling the report's page"
    VERBATIM)
add_custom_target(report_page DEPENDS ${KSBRAIN_REPORT_PAGE})
