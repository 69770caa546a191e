// What a class keeps to itself, opened for white-box tests: an explicit instantiation may name it.
//
//   using Position = int (TPlane::*)(double) const;
//   OPEN_MEMBER(Position, x_to_column, &TPlane::X2x);  ...  (plane.*x_to_column())(0.5)
#pragma once

#define OPEN_MEMBER(Type, name, ...)          \
    Type name();                              \
    template <Type member>                    \
    struct name##_opener {                    \
        friend Type name() { return member; } \
    };                                        \
    template struct name##_opener<__VA_ARGS__>
