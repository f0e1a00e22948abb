# SPDX-License-Identifier: Apache-2.0
# ORVA_CHIPS: the chips in sub-chip order. In the cache, so that projects that include this one see it as well.
set(orva_chip_list ${CMAKE_CURRENT_LIST_DIR}/../chips/chips.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${orva_chip_list})
file(STRINGS ${orva_chip_list} orva_chip_names)
set(ORVA_CHIPS ${orva_chip_names} CACHE INTERNAL "The chips in sub-chip order")
