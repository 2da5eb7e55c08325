#!/bin/sh
# Makes the meshes of a box with gmsh: quadratic bricks, wedges and tetrahedra, as universal files and as MSH 2.2 and 4.1.
set -eu
cd "$(dirname "$0")"
shape=0
for name in brick wedge tetrahedron; do
  shape=$((shape + 1))
  common="-3 -order 2 -setnumber Mesh.SecondOrderIncomplete 1 -setnumber SHAPE $shape -v 2"
  gmsh $common -setnumber GROUPS 0 -format unv box.geo -o "box_$name.unv"
  gmsh $common -setnumber GROUPS 1 -format msh2 box.geo -o "box_${name}_2.msh"
  gmsh $common -setnumber GROUPS 1 -format msh4 box.geo -o "box_${name}_4.msh"
done
