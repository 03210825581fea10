#pragma once

namespace vault {

/// Says in a database's header that it is a catalogue: "VRvt".
inline constexpr int kApplicationId = 0x56527674;

/// Of the schema below. Every change of it gets the next number and a step that brings older catalogues to
/// it.
inline constexpr int kSchemaNumber = 1;

/// The statements that make the tables, indexes and views of an empty catalogue.
extern const char* const kSchema;

}  // namespace vault
