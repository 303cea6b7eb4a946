# Flags of every target, on interface targets so that nothing is global.

# The order and the precision of each operation are part of the results: no contraction, no fast-math.
# Errno and trap flags are not looked at anywhere, and leaving them out lets loops vectorise.
add_library(vxgrid_flags INTERFACE)
target_compile_features(vxgrid_flags INTERFACE cxx_std_17)
target_compile_options(vxgrid_flags INTERFACE -ffp-contract=off -fno-math-errno -fno-trapping-math)
if(VXGRID_SANITIZE)
  target_compile_options(vxgrid_flags INTERFACE -fsanitize=${VXGRID_SANITIZE} -fno-omit-frame-pointer
                         -fno-sanitize-recover=undefined)
  target_link_options(vxgrid_flags INTERFACE -fsanitize=${VXGRID_SANITIZE})
  target_compile_definitions(vxgrid_flags INTERFACE VXGRID_SANITIZED)
endif()

add_library(vxgrid_warnings INTERFACE)
target_compile_options(vxgrid_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                       -Wno-sign-conversion -Wnon-virtual-dtor -Wno-psabi)
if(VXGRID_WERROR)
  target_compile_options(vxgrid_warnings INTERFACE -Werror)
endif()
