// The acts of the demonstration, each on the stage that the act before has left.
#pragma once

#include "lab/demo/stage.h"

namespace lab {

// An extender's own life: up, lost and back, upstream AP gone and the backup, third loss.
void act_backhaul_up(Stage& stage, Actor& extender);
void act_loss_and_return(Stage& stage, Actor& extender);
void act_backup_takes_over(Stage& stage, Actor& extender);
void act_third_loss(Stage& stage, Actor& extender);

// What else moves an extender: a better AP, a cable, radar.
void act_better_ap(Stage& stage, Actor& extender);
void act_cable(Stage& stage, Actor& extender);
void act_radar(Stage& stage, Actor& extender);

// The root: admission of an extender, and who is in the mesh.
void act_admission(Stage& stage, Actor& root, Actor& extender);
void act_mesh_list(Stage& stage, Actor& root, Actor& second);

}  // namespace lab
