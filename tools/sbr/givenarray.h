// Arrays of accessors that say nothing when memory is short.
#ifndef SBRKIT_TOOLS_SBR_GIVENARRAY_H
#define SBRKIT_TOOLS_SBR_GIVENARRAY_H

#include <new>

#include "session.h"

namespace sbrtool {

// Takes an array of so many values. That there are values and no array tells that there was no memory.
template <class T>
Given<T> given_array(T *block, const int &count) {
  if (block == nullptr && count > 0) throw std::bad_alloc();
  return Given<T>(block);
}

}  // namespace sbrtool

#endif
