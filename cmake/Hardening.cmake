# What the Debian package adds to vrii_build, so that a mistake in the program ends it instead of serving whoever wrote
# the file: checked copies, guarded stack and returns, a program at no fixed place, tables of the linker read-only.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
target_compile_options(vrii_build INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong
                                            -fstack-clash-protection -fcf-protection)
target_link_options(vrii_build INTERFACE -Wl,-z,relro -Wl,-z,now)
