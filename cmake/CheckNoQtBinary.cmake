# Fails when the binary FILE has a Qt library among its needed shared objects.
execute_process(COMMAND readelf -d ${FILE} OUTPUT_VARIABLE dyn RESULT_VARIABLE rc)
if(rc EQUAL 0 AND dyn MATCHES "libQt[0-9]")
    message(FATAL_ERROR "${FILE} links a Qt library; the core must stay Qt-free")
endif()
