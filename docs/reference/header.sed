# What Doxygen reads in the place of a public header. Every line keeps its number.

# A header begins with what it is for, which Doxygen wants to be told is about the file.
1s|^///|/// @file\n///|
/^#pragma once$/d

# Instances of a template have nothing to say that the template does not.
/^extern template/,/;$/s/.*//
/^template <>$/{
  N
  /\nstruct /b
  :rest
  /;$/!{
    N
    b rest
  }
  s/[^\n]*//g
}

# What the compiler writes has no contract of its own, and what is reserved has none at all.
/^  [^ ].* = default;$/s/.*//
/^  virtual void reserved[0-9]() {}$/s/.*//
