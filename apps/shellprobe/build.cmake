# The system's own table of handles (process_counts_win32.cpp).
target_link_libraries(app_shellprobe PUBLIC ntdll)
