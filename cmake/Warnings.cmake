# Warnings are errors, for all code of this project.
add_compile_options(-Wall -Wextra -Wconversion -Wshadow -Wundef -Wcast-align -Wvla -Wformat=2 -Werror)
