# Linux on 32-bit x86, with floating point in SSE registers: those of x87 are wider and round
# elsewhere. The cross compiler's own libraries are used at run time, so what is built runs on any
# x86-64.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
set(runtime_dir /usr/i686-linux-gnu/lib)
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-Wl,--dynamic-linker=${runtime_dir}/ld-linux.so.2 -Wl,-rpath,${runtime_dir}")
