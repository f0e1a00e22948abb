# SPDX-License-Identifier: Apache-2.0
# The warnings for all code of this project. They are errors only on request, so that a newer compiler with a new
# warning does not stop a build; script/test, script/check and CI request it.
option(ORVA_WERROR "Treat warnings as errors" OFF)
add_compile_options(-Wall -Wextra -Wconversion -Wshadow -Wundef -Wcast-align -Wvla -Wformat=2)
if(ORVA_WERROR)
  add_compile_options(-Werror)
endif()
