import QtQuick
import Ovrin.Ui

// Sorts the records of a store list by project: one group per project that has any, in the
// order of AssistantStore.projectsModel, then "No project" for records whose project is
// absent or unknown. A record naming several projects is in each of their groups. Within a
// group, records that are done come after the others, each part in the store's order.
// Everything follows the list and the projects as they change.
QtObject {
    id: grouping
    // A store list model.
    property var records
    // The record field holding a project id, or an array of them.
    property string projectField: "project"

    property int revision: 0
    readonly property var result: build(revision)
    // [{id, name, records}], "No project" (id "") last; groups without records left out.
    readonly property var groups: result.groups
    // Project id → records of that project; "" → the records of no known project.
    readonly property var byProject: result.byProject
    // Project id → name.
    readonly property var names: result.names
    // The projects, as records, in the order of the projects model.
    readonly property var projects: result.projects

    readonly property Connections recordsWatch: Connections {
        target: grouping.records
        function onModelReset() {
            ++grouping.revision;
        }
    }
    readonly property Connections projectsWatch: Connections {
        target: AssistantStore.projectsModel
        function onModelReset() {
            ++grouping.revision;
        }
    }

    // The ids of the known projects of `record`, each once, given id → name.
    function knownIds(record, names) {
        const value = record[grouping.projectField];
        const all = typeof value === "string" ? [value] : (value || []);
        const ids = [];
        for (let i = 0; i < all.length; ++i) {
            if (Object.prototype.hasOwnProperty.call(names, all[i]) && ids.indexOf(all[i]) < 0)
                ids.push(all[i]);
        }
        return ids;
    }

    // The names of the known projects of `record`.
    function namesOf(record) {
        return knownIds(record, grouping.names).map(id => grouping.names[id]);
    }

    function openFirst(records) {
        return records.filter(r => r.done !== true).concat(records.filter(r => r.done === true));
    }

    function build() {
        const names = Object.create(null);
        const projects = [];
        const model = AssistantStore.projectsModel;
        for (let i = 0; i < model.count; ++i) {
            const project = model.get(i);
            names[project.id] = project.name;
            projects.push(project);
        }

        const byProject = Object.create(null);
        const loose = [];
        const count = grouping.records ? grouping.records.count : 0;
        for (let i = 0; i < count; ++i) {
            const record = grouping.records.get(i);
            const ids = knownIds(record, names);
            if (ids.length === 0)
                loose.push(record);
            for (const id of ids)
                (byProject[id] = byProject[id] || []).push(record);
        }

        const groups = [];
        for (const project of projects) {
            if (byProject[project.id]) {
                byProject[project.id] = openFirst(byProject[project.id]);
                groups.push({ id: project.id, name: project.name, records: byProject[project.id] });
            }
        }
        byProject[""] = openFirst(loose);
        if (loose.length > 0)
            groups.push({ id: "", name: "No project", records: byProject[""] });
        return { groups: groups, byProject: byProject, names: names, projects: projects };
    }
}
