# Filters a public header for Doxygen. Every line keeps its number.

# Marks the comment at the top of a header as the documentation of the file.
1s|^///|/// @file\n///|
/^#pragma once$/d

# Template instances have the documentation of the template.
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

# Defaulted functions and reserved virtual operations have no documentation.
/^  [^ ].* = default;$/s/.*//
/^  virtual void reserved[0-9]() {}$/s/.*//
