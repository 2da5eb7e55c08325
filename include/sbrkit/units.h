/** @file
 *  @brief Units: the labels of a body, their multipliers on SI, and the switch to other units.
 *
 *  A body's unit system is four labels out of fixed tables, for mass, length, time and force (docs/units.md lists them
 *  with their multipliers). Empty labels stand for `"KILOGRAM"`, `"METER"`, `"SECOND"`, `"NEWTON"`. Everything that
 *  lives in memory is scaled when the units change; mode data on disk is not touched, but brought to the body's units
 *  each time it is read. No operation here sends a message. */
#ifndef SBRKIT_SBRKIT_UNITS_H
#define SBRKIT_SBRKIT_UNITS_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** An entry of a table of units. A table ends with a null name. */
typedef struct unit_entry {
  const char *name;  /**< the label, in capitals */
  double multiplier; /**< the unit in the SI unit of its quantity */
} unit_entry;

/** Gives the labels of a body. An output that is null is skipped. Null body: silent, with empty texts.
 *  @param body    the body
 *  @param mass    16 bytes, terminator included
 *  @param length  16 bytes, terminator included
 *  @param time    16 bytes, terminator included
 *  @param force   16 bytes, terminator included */
SBR_API void SBR_Units(SBR body, char *mass, char *length, char *time, char *force);

/** The multiplier of a label, whatever the case of its letters.
 *  @param label  the label
 *  @param table  the table; null has no labels
 *  @return the multiplier; 1.0 for an empty label, 0.0 for an unknown or null one. */
SBR_API double SBR_UnitsDivider(const char *label, const unit_entry *table);

/** The label of a multiplier: the first entry m of the table with |m - multiplier| / max(m, multiplier) below 0.0001.
 *  @param multiplier  the multiplier
 *  @param table       the table; null has no labels
 *  @return the name in the table, which lives as long as the table; null when there is none. */
SBR_API const char *SBR_UnitsLabel(double multiplier, const unit_entry *table);

/** The unit consistency factor of a body, f t^2 / (l m) of the multipliers of its units: it turns stiffness over mass
 *  into a squared frequency, and is 1 for a consistent system. Null body: silent.
 *  @return the factor; infinite or not a number when a label is unknown; 0.0 for null. */
SBR_API double SBR_UCF(SBR body);

/** A mass in the body's units, in kilograms. Null body: silent.
 *  @return the mass; 0.0 for null and for an unknown label. */
SBR_API double SBR_Mass2Kilogram(SBR body, double value);

/** A length in the body's units, in meters. Null body: silent.
 *  @return the length; 0.0 for null and for an unknown label. */
SBR_API double SBR_Length2Meter(SBR body, double value);

/** A time in the body's units, in seconds. Null body: silent.
 *  @return the time; 0.0 for null and for an unknown label. */
SBR_API double SBR_Time2Second(SBR body, double value);

/** A force in the body's units, in newtons. Null body: silent.
 *  @return the force; 0.0 for null and for an unknown label. */
SBR_API double SBR_Force2Newton(SBR body, double value);

/** Multiplies values in place by a factor. Value and factor are split into a mantissa and a power of ten, so that a
 *  product is rounded in a fixed way: the result may differ from plain multiplication in its last bits, even for a
 *  factor of 1.0. Values and factors that are not finite are multiplied plainly.
 *  @param values  n doubles
 *  @param n       how many; below 1 nothing is touched
 *  @param factor  the factor
 *  @return values. */
SBR_API double *SBR_Convert_Units(double *values, int n, double factor);

/** Switches a body to other units. The first labels that a body gets are taken as those it stands in: nothing is
 *  scaled. Later ones scale what lives in memory (SBR_ScaleDatabase()). The same labels again, compared exactly, scale
 *  nothing. Null body: silent.
 *  @param body    the body
 *  @param mass    a label; cut to 15 characters, then passed to SBR_ConvertUnitsLabel(). Null fails
 *  @param length  likewise
 *  @param time    likewise
 *  @param force   likewise
 *  @return 1; 0, with nothing changed, when a label is refused or, from the second time on, does not stand in the table
 *          of its quantity. */
SBR_API int SBR_SetUnits(SBR body, const char *mass, const char *length, const char *time, const char *force);

/** SBR_SetUnits() by multipliers on SI. Null body: silent.
 *  @param body    the body
 *  @param mass    the unit of mass in kilograms, to be found by SBR_UnitsLabel()
 *  @param length  the unit of length in meters, likewise
 *  @param time    the unit of time in seconds, likewise
 *  @param force   the unit of force in newtons, likewise
 *  @return as SBR_SetUnits(); 0, with nothing changed, when a multiplier has no name. */
SBR_API int SBR_SetUnitsByMultiplierOnSI(SBR body, double mass, double length, double time, double force);

/** Applies the ratios of the last change of units, old over new, to what lives in memory: nodes, generalized matrices,
 *  eigenvalues, loads, global properties, invariants, statistics and the operators of monitor points. Forgets cached
 *  mode data. SBR_SetUnits() does it; a call by hand scales once more. Matrix operators, locations of monitor points,
 *  rotations and strains have no part in it. Null body: silent. */
SBR_API void SBR_ScaleDatabase(SBR body);

#ifdef __cplusplus
}
#endif

#endif
