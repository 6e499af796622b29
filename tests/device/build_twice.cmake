# Builds the program again from nothing, in another folder, and compares: the same sources yield the same bytes.
set(second ${BUILD}/second)
file(REMOVE_RECURSE ${second})
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${second} -G Ninja -D CMAKE_BUILD_TYPE=Release
                -D CMAKE_TOOLCHAIN_FILE=${SOURCE}/ce/device/toolchain-device.cmake
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${second} --target kvsettings COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${BUILD}/kvsettings.exe ${second}/kvsettings.exe
                RESULT_VARIABLE differ)
if(differ)
    message(FATAL_ERROR "two builds differ (or a source has changed since ${BUILD} was built)")
endif()
file(REMOVE_RECURSE ${second})
