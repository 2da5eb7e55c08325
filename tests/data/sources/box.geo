// A box of 0.4 x 0.2 x 0.1: SHAPE 1 bricks, 2 wedges, 3 tetrahedra; with GROUPS its end at x = 0 is a group.
Point(1) = {0, 0, 0};
If (SHAPE == 3)
  Mesh.MeshSizeMin = 0.3;
  line[] = Extrude {0.4, 0, 0} { Point{1}; };
  face[] = Extrude {0, 0.2, 0} { Line{line[1]}; };
  body[] = Extrude {0, 0, 0.1} { Surface{face[1]}; };
Else
  line[] = Extrude {0.4, 0, 0} { Point{1}; Layers{2}; };
  If (SHAPE == 1)
    face[] = Extrude {0, 0.2, 0} { Line{line[1]}; Layers{1}; Recombine; };
  Else
    face[] = Extrude {0, 0.2, 0} { Line{line[1]}; Layers{1}; };
  EndIf
  body[] = Extrude {0, 0, 0.1} { Surface{face[1]}; Layers{1}; Recombine; };
EndIf
Physical Volume("BODY") = {body[1]};
If (GROUPS)
  left[] = Surface In BoundingBox {-0.01, -0.01, -0.01, 0.01, 0.21, 0.11};
  Physical Surface("LEFT") = {left[]};
EndIf
