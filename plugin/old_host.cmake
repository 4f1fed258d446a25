# For hosts of the old string layout, whose C and C++ libraries are older than the machine that builds this: nothing may
# bind to a newer symbol version than theirs (at most GLIBC_2.17, GLIBCXX_3.4.19, CXXABI_1.3.7).
target_sources(dmu-veltrane-plugin PRIVATE old_host.cpp)

# On such a host pthread_mutex_timedlock lives in a library of its own (see plugin_lock.cpp).
target_link_libraries(dmu-veltrane-plugin PRIVATE -Wl,--push-state,--no-as-needed -l:libpthread.so.0 -Wl,--pop-state)
